# The worker's organisation listing: XML to JSON against pugixml's parse alone.
kel_add_benchmark(bench_sysinfo_xml2json
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/sysinfo/xml2json_bench.cpp
  LIBS kelsysinfo psapi)
