# The antispam agent and its documents: RBL settings and the rule set with the
# common action schemas.
kel_add_gtest(test_transport_antispam
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/antispam_schema_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/antispam_agent_test.cpp
  LIBS keltransport kelhost_manager)
# The recording log.dll beside the program, for the failure lines.
add_dependencies(test_transport_antispam logsink)
