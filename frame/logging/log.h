#pragma once
// The module's diagnostics. Every write site tests IsActive() first: while no
// handle on the logging binding is live, nothing is formatted, nothing is
// written and the library is never loaded.
#include <cstdint>

#include "frame/logging/log_dll.h"
#include "frame/shared_instance.h"
#include "frame/win.h"

namespace logging {

// Levels, as the library understands them.
inline constexpr uint32_t kLevelTrace = 32;               // traces and information
inline constexpr uint32_t kLevelSubnodeFailure = 16;      // a JSON sub-node failed to load
inline constexpr uint32_t kLevelFailure = 8;              // an operation failed
inline constexpr uint32_t kLevelMissingPrerequisite = 4;  // something needed is absent

// Depth changes passed with a write.
inline constexpr uint16_t kDepthSame = 0;
inline constexpr uint16_t kDepthEnter = 1;
inline constexpr uint16_t kDepthLeave = 0xFFFF;  // -1

// One handle on the process-wide binding: the first live handle binds the
// library, the last one to go unbinds it. Each agent holds one for its life.
using LogHandle = kel::SharedHandle<CLogDLL>;

// True while any LogHandle is live.
bool IsActive() noexcept;

// Writes at `level` from `function`, with depth change 0 and this module as the
// writer. `format` is a wide printf format in which %s takes a wide string; the
// library formats it, never this module. Does nothing while logging is inactive.
void Write(uint32_t level, const wchar_t* function, const wchar_t* format, ...) noexcept;

}  // namespace logging

// Forwards one write, its arguments as a va_list, unchanged to the library's
// "LogWrite" (prototype: logging::LogWriteFn). Does nothing while logging is
// inactive; otherwise holds a handle on the binding for the length of the call.
void LogWriteFormatted(uint16_t depthChange, const uint32_t* level, HMODULE self,
                       const wchar_t* function, const wchar_t* format, ...) noexcept;
