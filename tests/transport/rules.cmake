# The filters' rule sets in JSON: the shared header and scope, and each
# filter's tables. That what a getter answers loads back the same is the
# bad-input campaign's (tests/fuzz).
kel_add_gtest(test_transport_rules
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/rule_common_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/antispam_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/antivirus_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/attachment_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/content_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/domaincheck_test.cpp
  LIBS keltransport)
# The recording log.dll beside the program, for the failure lines.
add_dependencies(test_transport_rules logsink)
