# Agent lifecycle, plug-in access and policy dispatch, with in-process fakes of the host.
kel_add_gtest(test_agent_framework
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/framework_test.cpp
  LIBS kelagent kelhost_manager)
add_dependencies(test_agent_framework logsink)

# The sample agent, registered only in this test module; kelhost drives it in
# tests/host/sample_agent.jsonl.
kel_add_module(test_agent_module
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/sample_agent/sample_agent.cpp
          ${CMAKE_CURRENT_LIST_DIR}/sample_agent/sample_module.cpp
  LIBS kelagent)
add_dependencies(test_agent_module logsink)
