#include "frame/logging/log.h"

#include <cstdarg>

namespace logging {
namespace {

void WriteArgs(uint16_t depthChange, const uint32_t* level, HMODULE self, const wchar_t* function,
               const wchar_t* format, va_list args) noexcept {
  if (!IsActive()) return;
  // The last agent may be going away on another thread: our own handle keeps
  // the binding alive until the library has the message.
  LogHandle handle;
  if (const CLogDLL* log = handle.get()) {
    log->Write(depthChange, level, self, function, format, args);
  }
}

}  // namespace

bool IsActive() noexcept { return kel::SharedInstance<CLogDLL>::Handles() != 0; }

void Write(uint32_t level, const wchar_t* function, const wchar_t* format, ...) noexcept {
  if (!IsActive()) return;
  va_list args;
  va_start(args, format);
  WriteArgs(kDepthSame, &level, ThisModule(), function, format, args);
  va_end(args);
}

}  // namespace logging

void LogWriteFormatted(uint16_t depthChange, const uint32_t* level, HMODULE self,
                       const wchar_t* function, const wchar_t* format, ...) noexcept {
  if (!logging::IsActive()) return;
  va_list args;
  va_start(args, format);
  logging::WriteArgs(depthChange, level, self, function, format, args);
  va_end(args);
}
