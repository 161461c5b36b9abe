# The second compiler: Debian's clang and lld targeting x86_64-w64-windows-gnu,
# against the same mingw-w64 headers, C++ library and runtime as the default
# build, so the two compilers judge the same code. Run under Wine as well.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(KEL_MINGW_TRIPLE x86_64-w64-mingw32)
set(KEL_MINGW_GCC_DIR /usr/lib/gcc/${KEL_MINGW_TRIPLE}/12-posix)

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-windows-gnu)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-windows-gnu)
set(CMAKE_RC_COMPILER ${KEL_MINGW_TRIPLE}-windres)
set(CMAKE_AR ${KEL_MINGW_TRIPLE}-ar)
set(CMAKE_RANLIB ${KEL_MINGW_TRIPLE}-ranlib)

# clang finds the mingw-w64 C headers by itself, but not the C++ library that
# g++-mingw-w64-x86-64-posix ships: name it, and link its posix threads. That
# library was built with type_info comparison out of line, which g++ knows
# from its target configuration and clang must be told, or both an inline
# and the library's copy of the operator end up in one binary.
set(CMAKE_CXX_FLAGS_INIT
    "-D__GXX_TYPEINFO_EQUALITY_INLINE=0 -nostdinc++ -isystem ${KEL_MINGW_GCC_DIR}/include/c++ -isystem ${KEL_MINGW_GCC_DIR}/include/c++/${KEL_MINGW_TRIPLE} -isystem ${KEL_MINGW_GCC_DIR}/include/c++/backward")
set(KEL_CLANG_LINK "-fuse-ld=lld -static -pthread -L${KEL_MINGW_GCC_DIR}")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${KEL_CLANG_LINK}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${KEL_CLANG_LINK}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${KEL_CLANG_LINK}")

set(CMAKE_FIND_ROOT_PATH /usr/${KEL_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine64)
