# The antivirus rule set in JSON and the antivirus agent's footer and
# replacement-text methods.
kel_add_gtest(test_transport_antivirus
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/antivirus_schema_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/antivirus_agent_test.cpp
  LIBS keltransport kelhost_manager)
add_dependencies(test_transport_antivirus logsink)
