# The registry in process, and through the real exports of built DLLs: the
# product module (export table) and a test module whose declarations exist
# only for these tests.
kel_add_module(test_registry_module SOURCES ${CMAKE_CURRENT_LIST_DIR}/registry/test_module.cpp)

kel_add_gtest(test_frame_registry
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/registry/registry_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/registry/exports_test.cpp
  LIBS kelframe)
add_dependencies(test_frame_registry test_registry_module kelagents)

# A class registered under a whole literal name must name itself: the
# declaration refuses, at compile time, one that would be built with no name.
separate_arguments(kel_cxx_flags NATIVE_COMMAND "${CMAKE_CXX_FLAGS}")
if(CMAKE_CXX_COMPILER_TARGET)
  list(APPEND kel_cxx_flags --target=${CMAKE_CXX_COMPILER_TARGET})
endif()
add_test(NAME test_frame_registry_whole_name_needs_own_name
  COMMAND ${CMAKE_CXX_COMPILER} ${kel_cxx_flags} -std=c++17 -fsyntax-only -I${PROJECT_SOURCE_DIR}
          ${CMAKE_CURRENT_LIST_DIR}/registry/whole_name_without_default.cpp)
set_tests_properties(test_frame_registry_whole_name_needs_own_name PROPERTIES
  PASS_REGULAR_EXPRESSION "needs a default constructor that gives it its own agent name")
