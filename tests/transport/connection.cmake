# The connection filter agent.
kel_add_gtest(test_transport_connection
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/connection_test.cpp
  LIBS keltransport kelhost_manager)
add_dependencies(test_transport_connection logsink)
