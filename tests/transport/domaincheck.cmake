# The domain-check agent and its rule set.
kel_add_gtest(test_transport_domaincheck
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/domaincheck_test.cpp
  LIBS keltransport)
# The recording log.dll beside the program, for the failure lines.
add_dependencies(test_transport_domaincheck logsink)
