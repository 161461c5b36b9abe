#pragma once
// Collects the progress of running tasks and forwards it as progress events,
// throttled, from a worker thread of its own. Updates only merge into a map;
// the worker sweeps the map at once after each update and on every whole
// 30 minutes of wall-clock time, and sends what the rules let through:
//
//   finished task        one event if none was ever sent, then it is dropped
//   otherwise, send when the last event is 6 hours old or older;
//                   or the percentage moved and the last is 30 minutes old;
//                   or none was sent yet;
//                   or the last carried 0 and the percentage no longer is;
//                   or the percentage is 10 points or more above the last.
//
// The clock is injected, so the 30-minute and 6-hour rules are proven with a
// ManualClock instead of waiting.
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include <json/value.h>

#include "frame/clock.h"
#include "frame/critical_section.h"
#include "frame/guid.h"
#include "frame/owners.h"
#include "frame/worker_thread.h"

namespace MailServers {

class OdProgressReporter {
 public:
  static constexpr uint32_t kPeriodMs = 30 * 60 * 1000;
  static constexpr int64_t kRepeatSeconds = 6 * 60 * 60;
  static constexpr int64_t kChangedRepeatSeconds = 30 * 60;
  static constexpr int32_t kStepPercent = 10;

  struct OdProgress {
    kel::Guid id;
    std::string context;  // the console's, unwrapped (UTF-8)
    uint32_t percentage = 0;
    int64_t lastSentTime = 0;         // Unix seconds
    int32_t lastSentPercentage = -1;  // -1: never sent
    bool sent = false;
    bool finished = false;
  };

  // Sends one progress event for `progress`; 0 when it went out. A failed
  // send is not repeated: the entry is considered again at the next sweep.
  using Send = std::function<uint32_t(const OdProgress& progress)>;

  // With `startWorker` false no thread ever runs and the caller sweeps with
  // SweepNow (tests of the rules alone).
  explicit OdProgressReporter(Send send, kel::Clock& clock = kel::SystemClock::Instance(),
                              bool startWorker = true);
  // Stops the worker after a last sweep, joins it, then frees the map. From
  // the worker itself (a send that ends up destroying the reporter) the join
  // is refused rather than dead-locked: the worker sends nothing more, ends
  // its sweep and frees what it used.
  ~OdProgressReporter();
  OdProgressReporter(const OdProgressReporter&) = delete;
  OdProgressReporter& operator=(const OdProgressReporter&) = delete;

  // A progress notification. Starts the worker on first use; throws
  // std::system_error when it cannot.
  void Progress(const kel::Guid& id, const std::string& context, uint32_t percentage);
  // The task ended.
  void Finished(const kel::Guid& id);

  // One sweep now, on the caller's thread.
  void SweepNow();
  // Tasks still tracked.
  size_t Tracked() const;

 private:
  // Everything the worker touches, shared with it so that it can finish even
  // when the reporter was destroyed on its own thread.
  struct Core {
    Send send;
    kel::Clock& clock;
    mutable kel::CriticalSection lock;  // the map and the update count
    std::map<kel::Guid, OdProgress> tasks;
    uint64_t updates = 0;
    kel::UniqueEvent wake;  // auto reset
    std::atomic<bool> stopping{false};
    std::atomic<bool> orphaned{false};  // no more sends: the reporter is gone

    Core(Send s, kel::Clock& c);
    void Merge(const OdProgress& update);
    void Sweep();  // under `lock`
    void Run();    // the worker's loop
  };

  void Update(const OdProgress& update);

  std::shared_ptr<Core> core_;
  bool startWorker_;
  kel::CriticalSection startLock_;  // two first updates start one thread
  kel::WorkerThread worker_;
};

// The body of a progress event: {"id", "context", "progress": {"percentageDone"}}.
Json::Value ProgressEventBody(const OdProgressReporter::OdProgress& progress);
// (ProgressBody, ondemand_events.h, by its schema.)

}  // namespace MailServers
