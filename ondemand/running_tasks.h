#pragma once
// Lets a synchronous run ("RunTask") wait until the plug-in reports the end of
// the run it started, and lets the agent's stop wait until no such caller is
// left. One caller at most waits for a task.
#include <cstdint>
#include <functional>
#include <map>

#include "frame/critical_section.h"
#include "frame/guid.h"
#include "frame/owners.h"
#include "sdk/mailservers/ondemand.h"

namespace MailServers {

class RunningTasks {
 public:
  // How often Drain looks again for callers still waiting.
  static constexpr uint32_t kDrainPollMs = 250;

  RunningTasks();
  RunningTasks(const RunningTasks&) = delete;
  RunningTasks& operator=(const RunningTasks&) = delete;

  // Blocks until the run of `id` ends or the agent stops. Answers the run's
  // status (IOnDemand::RunStatus, as a 32-bit number) when its end was
  // reported; 1067 when the agent stops first, or stopped already; 5023 at
  // once when another caller already waits for `id`; 1627 when the wait ended
  // without a status.
  //
  // `start`, when given, runs once the caller is registered and before it
  // waits (not at all for a refused caller): a run that ends as soon as it
  // starts still finds its caller waiting.
  uint32_t WaitForCompletion(const kel::Guid& id, const std::function<void()>& start = nullptr);

  // The plug-in reports the end of a run: wakes its caller, if one waits.
  void OnTaskStopped(const kel::Guid& id,
                     const kel::nusdk::MailServers::IOnDemand::RunStatistics& statistics) noexcept;

  // The run of `id` will never report its end (its task was deleted): its
  // caller, if one waits, is released without a status (1627).
  void Release(const kel::Guid& id) noexcept;

  // Releases every caller with 1067 and refuses new ones, then returns once
  // none is left. Every waiter leaves promptly once stopping, so no bound.
  void StopAndDrain() noexcept;
  // Serves callers again after a stop.
  void Restart() noexcept;

  size_t Waiting() const noexcept;

 private:
  struct Waiter {
    uint32_t result;
    HANDLE event;  // owned by the waiting caller
  };

  mutable kel::CriticalSection lock_;
  std::map<kel::Guid, Waiter> waiters_;  // ordered by the high half, then the low
  kel::UniqueEvent stop_;                // manual reset
};

}  // namespace MailServers
