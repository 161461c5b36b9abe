# A full page of quarantined items written by the item writer against the
# same document built directly on jsoncpp.
kel_add_benchmark(bench_quarantine_items
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/quarantine/items_bench.cpp
  LIBS kelquarantine)
