# The JSON serialization framework: key paths, typed primitives, name tables,
# and schema-driven structures with their failure log.
kel_add_gtest(test_agent_json
  SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/json_path_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/json_primitives_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/json_serializer_test.cpp
    ${CMAKE_CURRENT_LIST_DIR}/json_schema_writer_test.cpp
  LIBS kelagent)
# The recording log.dll beside the program, for the failure lines.
add_dependencies(test_agent_json logsink)
