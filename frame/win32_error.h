#pragma once
// Checks on Win32 calls that return the call's Win32 error code from the
// enclosing function, which answers a DWORD (or uint32_t) code with 0 for
// success. Each check matches one way the API reports failure; using the
// wrong one reads wrongly at the call site, which is the point of the names:
//
//   KEL_RETURN_IF_WIN32_BOOL_FALSE(call)  BOOL, failure told by GetLastError
//   KEL_RETURN_IF_WIN32_ERROR(status)     the call answers the code itself
//                                         (the Reg* family, our own functions)
//   KEL_RETURN_LAST_ERROR_IF_NULL(value)  a null pointer or handle, or an empty
//                                         owner, with GetLastError set
//   KEL_RETURN_LAST_ERROR_IF(condition)   any other failure sign, with
//                                         GetLastError set (INVALID_HANDLE_VALUE)
//
// Each evaluates its argument exactly once.
#include "frame/win.h"

namespace kel {

// The code a failed call left behind. Never 0: an API that fails without
// setting the last error must not read as a success.
inline DWORD LastErrorCode() noexcept {
  const DWORD error = ::GetLastError();
  return error != ERROR_SUCCESS ? error : ERROR_INTERNAL_ERROR;
}

}  // namespace kel

#define KEL_RETURN_IF_WIN32_BOOL_FALSE(call)    \
  do {                                          \
    if (!(call)) return ::kel::LastErrorCode(); \
  } while (false)

#define KEL_RETURN_IF_WIN32_ERROR(status)                 \
  do {                                                    \
    const DWORD kel_status_ = static_cast<DWORD>(status); \
    if (kel_status_ != ERROR_SUCCESS) return kel_status_; \
  } while (false)

#define KEL_RETURN_LAST_ERROR_IF_NULL(value)     \
  do {                                           \
    if (!(value)) return ::kel::LastErrorCode(); \
  } while (false)

#define KEL_RETURN_LAST_ERROR_IF(condition)       \
  do {                                            \
    if (condition) return ::kel::LastErrorCode(); \
  } while (false)
