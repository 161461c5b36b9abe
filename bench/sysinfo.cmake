# The worker's organisation listing: XML to JSON against pugixml's parse alone.
kel_add_benchmark(bench_sysinfo_xml2json
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/sysinfo/xml2json_bench.cpp
  LIBS kelsysinfo psapi)

# The worker's "/listmb" against this bare listing (same searches, nothing
# kept); run with the worker and native ldapsearch by worker_bench.py.
add_executable(bare_listing ${CMAKE_CURRENT_LIST_DIR}/sysinfo/bare_listing.cpp)
kel_strict(bare_listing)
target_link_libraries(bare_listing PRIVATE kelworker)
