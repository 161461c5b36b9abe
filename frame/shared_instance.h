#pragma once
// A process-wide object that exists while at least one handle on it is live.
// Both the object registry and the logging binding live this way: created by the
// first handle taken, destroyed when the last handle is dropped. Taking and
// dropping a handle is guarded by a spin flag rather than a critical section,
// because the first handles are taken during static initialisation, before any
// lock object of the module could be relied on.
#include <atomic>
#include <new>

#include "frame/win.h"

namespace kel {

template <class T>
class SharedInstance {
 public:
  // Takes a handle; creates the object when this is the first live handle.
  static void Acquire() noexcept {
    SpinGuard guard;
    if (count_.load(std::memory_order_relaxed) == 0) {
      delete instance_;  // a stale object left behind by a failed creation
      instance_ = new (std::nothrow) T();
    }
    count_.fetch_add(1, std::memory_order_relaxed);
  }

  // Drops a handle; the last one destroys the object.
  static void Release() noexcept {
    SpinGuard guard;
    if (count_.load(std::memory_order_relaxed) == 0) return;
    if (count_.fetch_sub(1, std::memory_order_relaxed) == 1) {
      delete instance_;
      instance_ = nullptr;
    }
  }

  // Valid only while the caller holds a handle; null if creation failed.
  static T* Get() noexcept { return instance_; }
  static long Handles() noexcept { return count_.load(std::memory_order_relaxed); }

 private:
  class SpinGuard {
   public:
    SpinGuard() noexcept {
      while (flag_.exchange(true, std::memory_order_acquire)) ::Sleep(1);
    }
    ~SpinGuard() { flag_.store(false, std::memory_order_release); }
    SpinGuard(const SpinGuard&) = delete;
    SpinGuard& operator=(const SpinGuard&) = delete;
  };

  // Constant-initialised, so usable from any static constructor.
  inline static std::atomic<bool> flag_{false};
  inline static std::atomic<long> count_{0};
  inline static T* instance_ = nullptr;
};

// Owner of one handle on a SharedInstance<T>.
template <class T>
class SharedHandle {
 public:
  SharedHandle() noexcept { SharedInstance<T>::Acquire(); }
  ~SharedHandle() { SharedInstance<T>::Release(); }
  SharedHandle(const SharedHandle&) = delete;
  SharedHandle& operator=(const SharedHandle&) = delete;

  T* get() const noexcept { return SharedInstance<T>::Get(); }
  T* operator->() const noexcept { return get(); }
};

}  // namespace kel
