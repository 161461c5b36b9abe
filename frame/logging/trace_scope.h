#pragma once
// Enter/leave trace of one operation, placed at the top of every public agent
// operation: "-> Name()" when the scope is entered, "<- Name() [ms]" on every
// way out of it, exceptions included. Both are written at level 32 and only
// while logging is active.
#include <cstddef>
#include <cstdint>

#include "frame/win.h"

class TraceScope {
 public:
  static constexpr size_t kNameCapacity = 260;  // wide characters, terminator included

  // `function` is the qualified name, e.g. L"Antispam::Agent::RunPolicyMethod".
  explicit TraceScope(const wchar_t* function) noexcept;
  ~TraceScope();

  TraceScope(const TraceScope&) = delete;
  TraceScope& operator=(const TraceScope&) = delete;

  // The name with "()" appended; a long name is cut to 257 characters so that
  // the "()" and the terminator always fit.
  const wchar_t* decorated_name() const noexcept { return decorated_; }
  // The name as given, cut to 259 characters.
  const wchar_t* name() const noexcept { return name_; }

 private:
  DWORD start_;  // timeGetTime at entry; the elapsed time wraps like it
  wchar_t decorated_[kNameCapacity];
  wchar_t name_[kNameCapacity];
};
