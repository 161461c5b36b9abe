# The attachment rule set in JSON, and the attachment agent.
kel_add_gtest(test_transport_attachment
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/attachment_test.cpp
  LIBS keltransport)
add_dependencies(test_transport_attachment logsink)
