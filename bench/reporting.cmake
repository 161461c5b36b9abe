# Scan reporting: the item event against building its document by hand on
# jsoncpp, and statistics folding from 1 to 8 notifying threads.
kel_add_benchmark(bench_reporting
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/reporting/scan_events_bench.cpp
  LIBS kelreporting)
