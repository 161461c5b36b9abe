#pragma once
// The Win32 error codes this module answers with. Plug-in codes pass through as they are.
#include <cstdint>

namespace kel::result {

inline constexpr uint32_t kSuccess = 0;
inline constexpr uint32_t kInvalidData = 13;        // policy data missing or invalid
inline constexpr uint32_t kNotReady = 21;           // a plug-in is not held
inline constexpr uint32_t kBadArguments = 160;      // null policy object, rejected input
inline constexpr uint32_t kAlreadyExists = 183;     // class name registered twice
inline constexpr uint32_t kServiceStopping = 1067;  // the agent stops while a run waits
inline constexpr uint32_t kNotFound = 1168;         // unknown class, or nothing there
inline constexpr uint32_t kWorkerExitedWithOne = 1223;
inline constexpr uint32_t kInternalError = 1359;     // an output could not be written
inline constexpr uint32_t kFunctionFailed = 1627;    // registration refused; run without status
inline constexpr uint32_t kInvalidOperation = 4317;  // unknown policy method
inline constexpr uint32_t kComponentMissing = 5002;  // manager or plug-in not obtained at Init
inline constexpr uint32_t kInvalidState = 5023;      // second waiter, or the agent stopped

}  // namespace kel::result
