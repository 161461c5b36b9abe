# Owners of Win32 resources, the error checks, the worker thread and the clocks.
kel_add_gtest(test_frame_win32
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/owners_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/win32_error_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/worker_thread_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/clock_test.cpp
  LIBS kelframe)
