#pragma once
// "kel.MailServers.Scanner": folds every scan result of the on-access plug-in
// into mail-flow statistics (the counter design is the table in
// statistics_store.h) and reports them as "kel.MailServers.Stats" from a
// thread of its own, on the UTC-aligned clock of report_clock.h:
//
//   {"stats": {"antispam":  {"interval": {"first", "last"},
//                            "sentTo": {address: {counter: n}}},
//              "antivirus": {"interval": ...,
//                            "sentTo": {threat: {"type", "byAddress": {address: {counter: n}}}},
//                            "sentBy": same shape},
//              "transport": {"interval": ...,
//                            "byTraffic": {traffic: {"total": n,
//                                                    "byFilter": {filter: {counter: n}}}}}}}
//
// a group only when something was folded into it. A report goes out only
// when there is something to report; the store is emptied after each one,
// whether the manager took the event or not (it is not retried). Stop sends a
// final report. It also sends, per message, "kel.MailServers.Transport.Detections"
// (detections_event.h).
//
// Threads: notifications fold on the plug-in's threads and the report runs on
// the report thread, both under the statistics lock, which is held while the
// report is built and sent, so that a report never holds half a notification
// and no notification is counted in two reports or in none.
#include <atomic>
#include <cstdint>

#include "frame/clock.h"
#include "frame/critical_section.h"
#include "frame/worker_thread.h"
#include "reporting/scan_listener.h"
#include "reporting/statistics_store.h"

namespace kel::MailServers {

inline constexpr wchar_t kStatsEvent[] = L"kel.MailServers.Stats";

class kelScannerAgent final : public Reporting::ScanListener {
 public:
  // `clock` is read for the report marks and the intervals and waited on by
  // the report thread; it must outlive the agent.
  explicit kelScannerAgent(const wchar_t* agentName,
                           kel::Clock& clock = kel::SystemClock::Instance());
  ~kelScannerAgent() override;

  // Start starts the report thread. Stop unregisters from the plug-in, then
  // signals the report thread and waits for its final report. Called on the
  // report thread itself (from within the manager's send), Stop would wait
  // for itself: it is refused, logged, and changes nothing.
  uint32_t Start() override;
  void Stop() override;
  void Uninit() override;

  // Never throw into the plug-in; always 0.
  int32_t OnItemScanned(const kel::nusdk::MailServers::ItemScanInfo& info) override;
  int32_t OnConnectionBlocked(const kel::nusdk::MailServers::ConnectionBlockedInfo& info) override;

 protected:
  EnterpriseIntegration::EventTable Events() const override;

 public:

  // Sends and empties the statistics if there are any; true when a report
  // went out. The report thread's step, open for tests.
  bool SendStatistics();

 private:
  void ReportStatistics(HANDLE stop);
  bool OnReportThread() const noexcept;
  // Unregisters from the plug-in, then stops the report thread (a final
  // report). Not on the report thread.
  void StopReporting() noexcept;

  kel::Clock& clock_;
  kel::CriticalSection lock_;  // the statistics lock
  Reporting::StatisticsStore store_;
  std::atomic<DWORD> reportThreadId_{0};
  kel::WorkerThread report_;  // last: stopped before what it uses goes
};

}  // namespace kel::MailServers
