# Third-party libraries. On Debian they are cross-built from the Debian source
# packages that scripts/setup.sh unpacks under third_party/ (GoogleTest from
# libgtest-dev); on Windows they come from vcpkg through find_package.
# Either way the rest of the build links the kel::* aliases only.

set(KEL_THIRD_PARTY_DIR ${PROJECT_SOURCE_DIR}/third_party)

if(EXISTS ${KEL_THIRD_PARTY_DIR}/libjsoncpp/CMakeLists.txt)
  # jsoncpp is a DLL: the host and the module must share one build of it,
  # because Json::Value objects cross the module boundary.
  set(JSONCPP_WITH_TESTS OFF CACHE BOOL "" FORCE)
  set(JSONCPP_WITH_POST_BUILD_UNITTEST OFF CACHE BOOL "" FORCE)
  set(JSONCPP_WITH_PKGCONFIG_SUPPORT OFF CACHE BOOL "" FORCE)
  set(JSONCPP_WITH_CMAKE_PACKAGE OFF CACHE BOOL "" FORCE)
  set(JSONCPP_WITH_EXAMPLE OFF CACHE BOOL "" FORCE)
  set(BUILD_STATIC_LIBS OFF CACHE BOOL "" FORCE)
  set(BUILD_OBJECT_LIBS OFF CACHE BOOL "" FORCE)
  set(BUILD_SHARED_LIBS ON CACHE BOOL "" FORCE)
  add_subdirectory(${KEL_THIRD_PARTY_DIR}/libjsoncpp ${CMAKE_BINARY_DIR}/third_party/jsoncpp EXCLUDE_FROM_ALL)
  set(BUILD_SHARED_LIBS OFF CACHE BOOL "" FORCE)
  target_compile_definitions(jsoncpp_lib INTERFACE JSON_DLL)
  set_target_properties(jsoncpp_lib PROPERTIES PREFIX "" OUTPUT_NAME jsoncpp)
  add_library(kel::jsoncpp ALIAS jsoncpp_lib)

  set(PUGIXML_BUILD_TESTS OFF CACHE BOOL "" FORCE)
  add_subdirectory(${KEL_THIRD_PARTY_DIR}/pugixml ${CMAKE_BINARY_DIR}/third_party/pugixml EXCLUDE_FROM_ALL)
  add_library(kel::pugixml ALIAS pugixml-static)

  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/third_party/googletest EXCLUDE_FROM_ALL)
  add_library(kel::gmock_main ALIAS gmock_main)

  set(BENCHMARK_ENABLE_TESTING OFF CACHE BOOL "" FORCE)
  set(BENCHMARK_ENABLE_GTEST_TESTS OFF CACHE BOOL "" FORCE)
  set(BENCHMARK_ENABLE_INSTALL OFF CACHE BOOL "" FORCE)
  set(BENCHMARK_ENABLE_WERROR OFF CACHE BOOL "" FORCE)
  # Debian's source drops the git-version detection that would otherwise fail here.
  set(GIT_VERSION 1.7.1)
  add_subdirectory(${KEL_THIRD_PARTY_DIR}/benchmark ${CMAKE_BINARY_DIR}/third_party/benchmark EXCLUDE_FROM_ALL)
  add_library(kel::benchmark ALIAS benchmark_main)

  # Their headers are not ours to keep warning-free.
  foreach(lib jsoncpp_lib pugixml-static benchmark benchmark_main)
    get_target_property(dirs ${lib} INTERFACE_INCLUDE_DIRECTORIES)
    set_target_properties(${lib} PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${dirs}")
  endforeach()
else()
  find_package(jsoncpp CONFIG REQUIRED)
  find_package(pugixml CONFIG REQUIRED)
  find_package(GTest CONFIG REQUIRED)
  find_package(benchmark CONFIG REQUIRED)
  add_library(kel::jsoncpp ALIAS JsonCpp::JsonCpp)
  add_library(kel::pugixml ALIAS pugixml::pugixml)
  add_library(kel::gmock_main ALIAS GTest::gmock_main)
  add_library(kel::benchmark ALIAS benchmark::benchmark_main)
endif()
