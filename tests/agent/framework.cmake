# Agent lifecycle, plug-in access and policy dispatch, with in-process fakes of the host.
kel_add_gtest(test_agent_framework
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/framework_test.cpp
  LIBS kelagent)
add_dependencies(test_agent_framework logsink)
