# The core value types shared with the plug-ins.
kel_add_gtest(test_frame_string
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/string_test.cpp
  LIBS kelframe)
kel_add_gtest(test_frame_containers
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/list_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/map_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/slots_test.cpp
  LIBS kelframe)
kel_add_gtest(test_frame_guid_ipv4
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/guid_test.cpp
          ${CMAKE_CURRENT_LIST_DIR}/ipv4_test.cpp
  LIBS kelframe)
