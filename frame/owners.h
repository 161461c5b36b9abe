#pragma once
// Sole owners of Win32 resources: one template and one line per kind.
//
// Owners are move-only, never shared by a reference count. A copyable owner
// that closes in its destructor closes the same handle once per copy (the
// second close hits whatever the system has since given that value to), and
// a counted one hides who may still be using the handle. Handing a resource
// on is a std::move that leaves the source empty, visible at the call site.
#include <cstdint>
#include <type_traits>

#include "frame/win.h"

namespace kel {

// Owns one `Pointer` and gives it back with `Close` exactly once: when the
// owner dies, is reset, or is overwritten through put(). `Invalid` is the value
// the kind's API uses for "none" (0 for most, -1 for file handles); it is never
// closed. `Close`'s own result is ignored: there is nothing left to do about a
// failed close.
template <class Pointer, auto Close, intptr_t Invalid = 0>
class UniqueAny {
 public:
  UniqueAny() noexcept = default;
  explicit UniqueAny(Pointer value) noexcept : value_(value) {}
  ~UniqueAny() { reset(); }

  UniqueAny(UniqueAny&& other) noexcept : value_(other.release()) {}
  UniqueAny& operator=(UniqueAny&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  UniqueAny(const UniqueAny&) = delete;
  UniqueAny& operator=(const UniqueAny&) = delete;

  static Pointer invalid() noexcept {
    if constexpr (std::is_pointer_v<Pointer>) {
      return reinterpret_cast<Pointer>(Invalid);
    } else {
      return static_cast<Pointer>(Invalid);
    }
  }

  Pointer get() const noexcept { return value_; }
  explicit operator bool() const noexcept { return value_ != invalid(); }

  // Hands the resource over to the caller, who must close it.
  Pointer release() noexcept {
    const Pointer value = value_;
    value_ = invalid();
    return value;
  }

  // Closes what is held so far and takes over `value`.
  void reset(Pointer value = invalid()) noexcept {
    const Pointer old = value_;
    value_ = value;
    if (old != invalid()) static_cast<void>(Close(old));
  }

  // Closes what is held and answers the slot for an API's out-parameter.
  Pointer* put() noexcept {
    reset();
    return &value_;
  }

 private:
  Pointer value_ = invalid();
};

// Handles whose "none" is null: processes, threads, events, mutexes, jobs.
using UniqueHandle = UniqueAny<HANDLE, &::CloseHandle>;
using UniqueProcess = UniqueHandle;
using UniqueThread = UniqueHandle;
using UniqueEvent = UniqueHandle;
// Handles whose "none" is INVALID_HANDLE_VALUE: CreateFileW, CreateNamedPipeW,
// and pipe ends from CreatePipe, which answers no handle on failure.
using UniqueFile = UniqueAny<HANDLE, &::CloseHandle, -1>;
using UniquePipe = UniqueFile;
using UniqueHkey = UniqueAny<HKEY, &::RegCloseKey>;
using UniqueModule = UniqueAny<HMODULE, &::FreeLibrary>;
// Memory the system allocated with LocalAlloc for the caller: security
// descriptors, FormatMessageW buffers, CommandLineToArgvW arrays.
using UniqueLocal = UniqueAny<HLOCAL, &::LocalFree>;
// SIDs from AllocateAndInitializeSid only (others are LocalAlloc'd).
using UniqueSid = UniqueAny<PSID, &::FreeSid>;

namespace detail {
inline void DeleteAttributeList(LPPROC_THREAD_ATTRIBUTE_LIST list) noexcept {
  ::DeleteProcThreadAttributeList(list);
  ::HeapFree(::GetProcessHeap(), 0, list);
}
}  // namespace detail

// A proc-thread attribute list made by MakeAttributeList: deleted, then its
// memory freed.
using UniqueAttributeList = UniqueAny<LPPROC_THREAD_ATTRIBUTE_LIST, &detail::DeleteAttributeList>;

// Allocates and initialises a list with room for `count` attributes. Answers
// a Win32 code; `list` is left empty on failure.
DWORD MakeAttributeList(DWORD count, UniqueAttributeList& list) noexcept;

// Both handles CreateProcessW answers, closed together.
class UniqueProcessInformation {
 public:
  UniqueProcessInformation() noexcept = default;
  ~UniqueProcessInformation() { reset(); }

  UniqueProcessInformation(UniqueProcessInformation&& other) noexcept : info_(other.release()) {}
  UniqueProcessInformation& operator=(UniqueProcessInformation&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  UniqueProcessInformation(const UniqueProcessInformation&) = delete;
  UniqueProcessInformation& operator=(const UniqueProcessInformation&) = delete;

  const PROCESS_INFORMATION& get() const noexcept { return info_; }
  explicit operator bool() const noexcept {
    return info_.hProcess != nullptr || info_.hThread != nullptr;
  }

  PROCESS_INFORMATION release() noexcept {
    const PROCESS_INFORMATION info = info_;
    info_ = PROCESS_INFORMATION{};
    return info;
  }

  void reset(const PROCESS_INFORMATION& info = PROCESS_INFORMATION{}) noexcept {
    const PROCESS_INFORMATION old = info_;
    info_ = info;
    UniqueThread thread(old.hThread);
    UniqueProcess process(old.hProcess);
  }

  PROCESS_INFORMATION* put() noexcept {
    reset();
    return &info_;
  }

 private:
  PROCESS_INFORMATION info_{};
};

}  // namespace kel
