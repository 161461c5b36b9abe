# The transport agent: in process with fakes; kelhost drives it in tests/host/transport.jsonl.
kel_add_gtest(test_transport_agent
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/transport_agent_test.cpp
  LIBS keltransport kelhost_manager)
add_dependencies(test_transport_agent logsink)
