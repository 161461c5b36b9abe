#pragma once
// Owner of a Windows critical section, and its scoped lock.
#include "frame/win.h"

namespace kel {

class CriticalSection {
 public:
  CriticalSection() noexcept { ::InitializeCriticalSection(&cs_); }
  ~CriticalSection() { ::DeleteCriticalSection(&cs_); }
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;

  void Enter() noexcept { ::EnterCriticalSection(&cs_); }
  void Leave() noexcept { ::LeaveCriticalSection(&cs_); }

 private:
  CRITICAL_SECTION cs_;
};

class CriticalSectionLock {
 public:
  explicit CriticalSectionLock(CriticalSection& cs) noexcept : cs_(cs) { cs_.Enter(); }
  ~CriticalSectionLock() { cs_.Leave(); }
  CriticalSectionLock(const CriticalSectionLock&) = delete;
  CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;

 private:
  CriticalSection& cs_;
};

}  // namespace kel
