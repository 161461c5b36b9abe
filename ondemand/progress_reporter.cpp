#include "ondemand/progress_reporter.h"

#include <system_error>
#include <utility>

#include "frame/text_convert.h"
#include "ondemand/ondemand_events.h"

namespace MailServers {

OdProgressReporter::Core::Core(Send s, kel::Clock& c)
    : send(std::move(s)), clock(c), wake(::CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

void OdProgressReporter::Core::Merge(const OdProgress& update) {
  kel::CriticalSectionLock hold(lock);
  auto found = tasks.find(update.id);
  if (found == tasks.end()) {
    OdProgress fresh;
    fresh.id = update.id;
    fresh.context = update.context;
    found = tasks.emplace(update.id, std::move(fresh)).first;
  }
  OdProgress& entry = found->second;
  entry.finished = update.finished;
  if (!update.finished) {
    entry.percentage = update.percentage;
    entry.sent = update.sent;
  }
  ++updates;
}

void OdProgressReporter::Core::Sweep() {
  const int64_t now = clock.UnixSeconds();
  for (auto it = tasks.begin(); it != tasks.end();) {
    if (orphaned.load()) return;
    OdProgress& entry = it->second;
    if (entry.finished) {
      if (!entry.sent) send(entry);
      it = tasks.erase(it);
      continue;
    }
    const int32_t percentage = static_cast<int32_t>(entry.percentage);
    const bool due = entry.lastSentTime <= now - kRepeatSeconds ||
                     (percentage != entry.lastSentPercentage &&
                      entry.lastSentTime <= now - kChangedRepeatSeconds) ||
                     entry.lastSentPercentage == -1 ||
                     (entry.lastSentPercentage <= 0 && percentage != 0) ||
                     percentage >= entry.lastSentPercentage + kStepPercent;
    if (due && send(entry) == 0) {
      entry.sent = true;
      entry.lastSentTime = now;
      entry.lastSentPercentage = percentage;
    }
    ++it;
  }
}

void OdProgressReporter::Core::Run() {
  for (;;) {
    // Ticks fall on whole multiples of the period in wall-clock time.
    const int64_t nowMs = kel::FileTimeTicks(clock.FileTime()) / kel::kFileTimeTicksPerMillisecond;
    const uint32_t wait = kPeriodMs - static_cast<uint32_t>(nowMs % kPeriodMs);
    clock.WaitFor(wake.get(), wait);
    // Read before the sweep: a stop asked for now still gets this last sweep.
    const bool stop = stopping.load();
    {
      kel::CriticalSectionLock hold(lock);
      Sweep();
      updates = 0;
    }
    if (stop || orphaned.load()) return;
  }
}

OdProgressReporter::OdProgressReporter(Send send, kel::Clock& clock, bool startWorker)
    : core_(std::make_shared<Core>(std::move(send), clock)), startWorker_(startWorker) {
  if (!core_->wake)
    throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(),
                            "progress wake event");
}

OdProgressReporter::~OdProgressReporter() {
  core_->stopping.store(true);
  ::SetEvent(core_->wake.get());
  if (worker_.Stop() == ERROR_POSSIBLE_DEADLOCK) core_->orphaned.store(true);
}

void OdProgressReporter::Update(const OdProgress& update) {
  core_->Merge(update);
  if (!startWorker_) return;
  {
    kel::CriticalSectionLock hold(startLock_);
    if (!worker_.Running()) {
      std::shared_ptr<Core> core = core_;
      const DWORD code = worker_.Start([core](HANDLE) { core->Run(); });
      if (code != ERROR_SUCCESS) {
        throw std::system_error(static_cast<int>(code), std::system_category(), "progress worker");
      }
    }
  }
  ::SetEvent(core_->wake.get());
}

void OdProgressReporter::Progress(const kel::Guid& id, const std::string& context,
                                  uint32_t percentage) {
  OdProgress update;
  update.id = id;
  update.context = context;
  update.percentage = percentage;
  Update(update);
}

void OdProgressReporter::Finished(const kel::Guid& id) {
  OdProgress update;
  update.id = id;
  update.finished = true;
  Update(update);
}

void OdProgressReporter::SweepNow() {
  kel::CriticalSectionLock hold(core_->lock);
  core_->Sweep();
  core_->updates = 0;
}

size_t OdProgressReporter::Tracked() const {
  kel::CriticalSectionLock hold(core_->lock);
  return core_->tasks.size();
}

Json::Value ProgressEventBody(const OdProgressReporter::OdProgress& progress) {
  ProgressBody body;
  body.id = progress.id;
  const std::wstring context = kel::WideFromUtf8(progress.context);
  body.context.Assign(context.data(), context.size());
  body.percentage = progress.percentage;
  Json::Value document;
  EnterpriseIntegration::JsonSerializer<ProgressBody>::Save(document, body);
  return document;
}

}  // namespace MailServers
