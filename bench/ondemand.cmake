# Task synchronisation against the reference plug-in, N = 1,000 and 10,000.
kel_add_benchmark(bench_ondemand_set_all_tasks
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/ondemand/set_all_tasks_bench.cpp
  LIBS kelondemand kelhost_plugins)
