# The registry in process, and through the real exports of built DLLs: the
# product module (export table) and a test module whose declarations exist
# only for these tests.
kel_add_module(test_registry_module SOURCES ${CMAKE_CURRENT_LIST_DIR}/registry/test_module.cpp)

kel_add_gtest(test_frame_registry
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/registry/registry_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/registry/exports_test.cpp
  LIBS kelframe)
add_dependencies(test_frame_registry test_registry_module kelagents)
