# The rule header, scope and conditions shared by the filters.
kel_add_gtest(test_transport_rule_common
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/rule_common_test.cpp
  LIBS keltransport)
add_dependencies(test_transport_rule_common logsink)
