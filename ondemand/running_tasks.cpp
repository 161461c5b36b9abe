#include "ondemand/running_tasks.h"

#include "frame/result_codes.h"
#include "frame/scope_exit.h"

namespace MailServers {

RunningTasks::RunningTasks() : stop_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

uint32_t RunningTasks::WaitForCompletion(const kel::Guid& id, const std::function<void()>& start) {
  kel::UniqueEvent done(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (!done || !stop_) return kel::result::kFunctionFailed;
  {
    kel::CriticalSectionLock lock(lock_);
    if (waiters_.count(id) != 0) return kel::result::kInvalidState;
    waiters_.emplace(id, Waiter{kel::result::kFunctionFailed, done.get()});
  }
  // On every way out, so that Drain never counts a caller that left.
  kel::ScopeExit leave([this, &id] {
    kel::CriticalSectionLock lock(lock_);
    waiters_.erase(id);
  });
  // A stopped agent starts nothing more.
  if (::WaitForSingleObject(stop_.get(), 0) == WAIT_OBJECT_0) return kel::result::kServiceStopping;
  if (start) start();
  const HANDLE handles[] = {stop_.get(), done.get()};
  const DWORD woke = ::WaitForMultipleObjects(2, handles, FALSE, INFINITE);
  if (woke == WAIT_OBJECT_0) return kel::result::kServiceStopping;
  if (woke != WAIT_OBJECT_0 + 1) return kel::result::kFunctionFailed;
  kel::CriticalSectionLock lock(lock_);
  return waiters_.at(id).result;
}

void RunningTasks::OnTaskStopped(
    const kel::Guid& id,
    const kel::nusdk::MailServers::IOnDemand::RunStatistics& statistics) noexcept {
  // Signalled under the lock: a caller released by a stop meanwhile closes
  // its event only after it has left the map, so a handle found here is open.
  kel::CriticalSectionLock lock(lock_);
  auto found = waiters_.find(id);
  if (found == waiters_.end()) return;
  found->second.result = static_cast<uint32_t>(statistics.status);
  ::SetEvent(found->second.event);
}

void RunningTasks::Release(const kel::Guid& id) noexcept {
  kel::CriticalSectionLock lock(lock_);
  auto found = waiters_.find(id);
  if (found != waiters_.end()) ::SetEvent(found->second.event);
}

void RunningTasks::StopAndDrain() noexcept {
  ::SetEvent(stop_.get());
  while (Waiting() != 0) ::Sleep(kDrainPollMs);
}

void RunningTasks::Restart() noexcept { ::ResetEvent(stop_.get()); }

size_t RunningTasks::Waiting() const noexcept {
  kel::CriticalSectionLock lock(lock_);
  return waiters_.size();
}

}  // namespace MailServers
