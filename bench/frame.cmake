# The core value types against their standard counterparts.
kel_add_benchmark(bench_frame_values
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/frame/values_bench.cpp
  LIBS kelframe)
