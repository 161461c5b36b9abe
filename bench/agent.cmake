# The JSON serializers against the same tree built and read by hand.
kel_add_benchmark(bench_agent_json
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/agent/json_bench.cpp
  LIBS kelagent)
