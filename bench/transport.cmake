# The transport rule sets: loading and saving 1,000 rules against jsoncpp
# copying the same document, one program, ratios printed at the end. A filter
# adds its file to this list.
set(KEL_TRANSPORT_BENCH_SOURCES
  ${CMAKE_CURRENT_LIST_DIR}/transport/rule_set_bench.cpp
  ${CMAKE_CURRENT_LIST_DIR}/transport/antivirus_bench.cpp
  ${CMAKE_CURRENT_LIST_DIR}/transport/content_rules_bench.cpp)
kel_add_benchmark(bench_transport_rules
  SOURCES ${KEL_TRANSPORT_BENCH_SOURCES}
  LIBS keltransport)
