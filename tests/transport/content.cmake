# The content rule set and the content agent.
kel_add_gtest(test_transport_content
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/content_test.cpp
  LIBS keltransport)
add_dependencies(test_transport_content logsink)
