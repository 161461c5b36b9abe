# Build settings for the project's own targets (never applied to third-party code).

function(kel_strict target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /WX /permissive- /utf-8)
  else()
    target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
  endif()
  target_compile_features(${target} PUBLIC cxx_std_17)
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
endfunction()

# A GoogleTest executable registered with ctest; under the cross build ctest
# runs it through the Wine emulator by itself.
function(kel_add_gtest name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  kel_strict(${name})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} kel::gmock_main)
  add_test(NAME ${name} COMMAND ${name})
  # Under Wine a stack overflow can end a program with exit code 0: a run
  # counts only when GoogleTest got to its summary and reported no failure.
  set_tests_properties(${name} PROPERTIES
    PASS_REGULAR_EXPRESSION "\\[  PASSED  \\] [0-9]+ tests?\\."
    FAIL_REGULAR_EXPRESSION "\\[  FAILED  \\]")
endfunction()

function(kel_add_benchmark name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  kel_strict(${name})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} kel::benchmark)
  set_property(GLOBAL APPEND PROPERTY KEL_BENCHMARKS ${name})
endfunction()

# A module DLL: the two exports (undecorated through the .def file under both
# toolchains), the frame, and the given sources, whose static declarations
# register the module's classes.
function(kel_add_module name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${name} SHARED
    ${PROJECT_SOURCE_DIR}/frame/exports.cpp
    ${PROJECT_SOURCE_DIR}/frame/module.def
    ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES PREFIX "")
  kel_strict(${name})
  target_link_libraries(${name} PRIVATE kelframe ${ARG_LIBS})
endfunction()
