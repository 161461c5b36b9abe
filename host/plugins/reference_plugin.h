#pragma once
// An in-memory plug-in of the simulated service host. At its interface it
// behaves as a real plug-in would: setters store, getters return what was
// stored, notifications reach the sinks registered with it. kelhost hands it
// out through its component manager and can make every operation fail.
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <json/value.h>

#include "sdk/interface_id.h"

namespace kelhost {

// Codes the reference plug-ins answer with beside success.
inline constexpr uint32_t kPluginAlreadyAdvised = 183;  // ERROR_ALREADY_EXISTS
inline constexpr uint32_t kPluginNotAdvised = 1168;     // ERROR_NOT_FOUND
inline constexpr uint32_t kPluginInternalError = 1359;  // ERROR_INTERNAL_ERROR: something threw
inline constexpr uint32_t kPluginBadArgument = 87;      // ERROR_INVALID_PARAMETER

// The answer to a request to raise a notification.
struct NotifyOutcome {
  std::string error;   // empty on success; else a short stable reason
  std::string detail;  // what exactly was wrong
  uint32_t delivered = 0;

  static NotifyOutcome Failed(std::string error, std::string detail) {
    NotifyOutcome outcome;
    outcome.error = std::move(error);
    outcome.detail = std::move(detail);
    return outcome;
  }
};

// How a notification is delivered: `repeat` times on each of `threads` plug-in
// threads running at once, so that a script can load an agent the way a busy
// server does.
struct Delivery {
  uint32_t repeat = 1;
  uint32_t threads = 1;

  bool Single() const noexcept { return repeat == 1 && threads == 1; }
};

class ReferencePlugin {
 public:
  virtual ~ReferencePlugin() = default;

  // The component name the host's component manager knows the plug-in by.
  virtual const wchar_t* ComponentName() const = 0;
  // The plug-in's pointer for interface `iid`, or null.
  virtual void* Interface(const kel::InterfaceId& iid) = 0;
  // Calls `notification` on every registered sink with the structure described
  // by `data` (members named like the structure's fields).
  virtual NotifyOutcome Notify(const std::string& notification, const Json::Value& data) = 0;
  // The same, delivered as `delivery` says; a plug-in that cannot repeat
  // its notifications refuses anything but a single delivery.
  virtual NotifyOutcome NotifyRepeated(const std::string& notification, const Json::Value& data,
                                       const Delivery& delivery) {
    if (delivery.Single()) return Notify(notification, data);
    return NotifyOutcome::Failed("bad field", "this plug-in delivers each notification once");
  }

  // What the plug-in recorded of the requests it served, for the `plugin`
  // reply's "requests"; null when it records nothing.
  virtual Json::Value Recorded() const { return Json::Value(); }
  // How many requests Recorded() holds, without copying them.
  virtual size_t RecordedCount() const { return 0; }

  // While non-zero, every operation of the plug-in answers this code and does
  // nothing else.
  void SetFailure(uint32_t code) noexcept { failure_.store(code); }
  uint32_t Failure() const noexcept { return failure_.load(); }

 protected:
  // The wall around an operation: the forced failure answers first, and
  // nothing thrown reaches the module (an allocation failure answers 1359).
  template <class Fn>
  uint32_t Guarded(Fn&& fn) noexcept {
    if (const uint32_t code = Failure()) return code;
    return Shielded(std::forward<Fn>(fn));
  }
  // The same without the forced failure, for what a plug-in does whatever it
  // was told to answer (letting a sink go).
  template <class Fn>
  static uint32_t Shielded(Fn&& fn) noexcept {
    try {
      return fn();
    } catch (...) {
      return kPluginInternalError;
    }
  }

 public:

  // The `plugin` op's "directory": the directory groups, by DN, that a
  // plug-in synchronising with a directory reads from. False, with
  // `problem` set, for data it cannot take, or when it has no directory.
  virtual bool SetDirectory(const Json::Value& directory, std::string& problem) {
    static_cast<void>(directory);
    problem = "this plug-in has no directory";
    return false;
  }

 private:
  std::atomic<uint32_t> failure_{0};
};

// The notification sinks registered with one plug-in. Notifications go to a
// snapshot, so a sink may unregister itself while it is being called.
template <class Sink>
class SinkSet {
 public:
  uint32_t Add(Sink* sink) {
    if (sink == nullptr) return kPluginBadArgument;
    std::lock_guard<std::mutex> lock(mutex_);
    if (std::find(sinks_.begin(), sinks_.end(), sink) != sinks_.end()) {
      return kPluginAlreadyAdvised;
    }
    sinks_.push_back(sink);
    return 0;
  }
  uint32_t Remove(Sink* sink) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = std::find(sinks_.begin(), sinks_.end(), sink);
    if (found == sinks_.end()) return kPluginNotAdvised;
    sinks_.erase(found);
    return 0;
  }
  std::vector<Sink*> Snapshot() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return sinks_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Sink*> sinks_;
};

// Runs `deliver` on a thread of the plug-in's own, as real plug-ins call their
// sinks, and waits for it, so that a script sees the effects in order.
template <class Fn>
void DeliverOnPluginThread(Fn&& deliver) {
  std::exception_ptr failure;
  std::thread worker([&] {
    try {
      deliver();
    } catch (...) {
      failure = std::current_exception();
    }
  });
  worker.join();
  if (failure) std::rethrow_exception(failure);
}

// Runs `deliver` `delivery.repeat` times on each of `delivery.threads` threads
// of the plug-in's own, all at once, and waits for them all.
template <class Fn>
void DeliverOnPluginThreads(const Delivery& delivery, Fn&& deliver) {
  std::exception_ptr failure;
  std::mutex failureLock;
  std::vector<std::thread> workers;
  const auto run = [&] {
    try {
      for (uint32_t i = 0; i < delivery.repeat; ++i) deliver();
    } catch (...) {
      std::lock_guard<std::mutex> lock(failureLock);
      if (!failure) failure = std::current_exception();
    }
  };
  try {
    workers.reserve(delivery.threads);
    for (uint32_t t = 0; t < delivery.threads; ++t) workers.emplace_back(run);
  } catch (...) {
    // The threads already running are joined before the failure goes on.
    for (std::thread& worker : workers) worker.join();
    throw;
  }
  for (std::thread& worker : workers) worker.join();
  if (failure) std::rethrow_exception(failure);
}

}  // namespace kelhost
