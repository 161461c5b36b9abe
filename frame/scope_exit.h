#pragma once
// Runs a cleanup when the scope ends, unless dismissed: the rollback of a
// multi-step operation that must leave nothing half-done.
#include <utility>

namespace kel {

template <class Fn>
class ScopeExit {
 public:
  explicit ScopeExit(Fn fn) : fn_(std::move(fn)) {}
  ~ScopeExit() {
    if (armed_) {
      try {
        fn_();
      } catch (...) {
        // A rollback has nowhere to report to; it must not end the unwinding.
      }
    }
  }
  ScopeExit(const ScopeExit&) = delete;
  ScopeExit& operator=(const ScopeExit&) = delete;

  void Dismiss() noexcept { armed_ = false; }

 private:
  Fn fn_;
  bool armed_ = true;
};

}  // namespace kel
