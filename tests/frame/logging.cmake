# The logging binding, bound to the recording log.dll (host/logsink) that lands
# beside the test programs. Which log.dll a process has loaded cannot be undone
# within it, so the cases that need a particular one have programs of their own.
set(KEL_LOGGING_TEST_DIR ${CMAKE_CURRENT_LIST_DIR})

kel_add_gtest(test_frame_logging
  SOURCES ${KEL_LOGGING_TEST_DIR}/logging_test.cpp ${KEL_LOGGING_TEST_DIR}/trace_scope_test.cpp
  LIBS kelframe)
# Nothing may load log.dll before this one looks.
kel_add_gtest(test_frame_logging_inactive
  SOURCES ${KEL_LOGGING_TEST_DIR}/logging_inactive_test.cpp
  LIBS kelframe)
# Binds bin/nowrite/log.dll, the library without "LogWrite".
kel_add_gtest(test_frame_logging_nowrite
  SOURCES ${KEL_LOGGING_TEST_DIR}/logging_nowrite_test.cpp
  LIBS kelframe)

foreach(test test_frame_logging test_frame_logging_inactive test_frame_logging_nowrite)
  add_dependencies(${test} logsink logsink_nowrite)
endforeach()
