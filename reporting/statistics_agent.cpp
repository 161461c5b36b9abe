#include "reporting/statistics_agent.h"

#include "frame/logging/log.h"
#include "frame/logging/trace_scope.h"
#include "reporting/detections_event.h"
#include "reporting/report_clock.h"

namespace kel::MailServers {

using kel::nusdk::MailServers::ConnectionBlockedInfo;
using kel::nusdk::MailServers::ItemScanInfo;

namespace {
constexpr char kStatsKey[] = "stats";
constexpr wchar_t kStopFunction[] = L"kel::MailServers::kelScannerAgent::Stop";
constexpr wchar_t kReportFunction[] = L"kel::MailServers::kelScannerAgent::ReportStatistics";
constexpr wchar_t kWaitFunction[] =
    L"kel::MailServers::kelScannerAgent::ReportStatistics::<lambda_1>::operator ()";
}  // namespace

kelScannerAgent::kelScannerAgent(const wchar_t* agentName, kel::Clock& clock)
    : ScanListener(agentName, L"kel::MailServers::kelScannerAgent"), clock_(clock) {}

// The plug-in must stop calling in, and the thread must end, before the store
// and the lock they use are destroyed.
kelScannerAgent::~kelScannerAgent() { StopReporting(); }

uint32_t kelScannerAgent::Start() {
  if (const uint32_t code = ScanListener::Start()) return code;
  if (report_.Running()) return 0;
  const DWORD code = report_.Start([this](HANDLE stop) { ReportStatistics(stop); });
  if (code != 0) {
    logging::Write(logging::kLevelFailure, Qualified(L"Start").c_str(),
                   L"Error %d starting the report thread", static_cast<int>(code));
  }
  return code;
}

EnterpriseIntegration::EventTable kelScannerAgent::Events() const {
  static constexpr EnterpriseIntegration::EventEntry kEvents[] = {
      {kStatsEvent, EnterpriseIntegration::kOutputAt<kStatsKey, Reporting::Statistics>},
      {Reporting::kDetectionsEvent, EnterpriseIntegration::kBodyOf<Reporting::DetectionsDocument>},
  };
  return kEvents;
}

bool kelScannerAgent::OnReportThread() const noexcept {
  return ::GetCurrentThreadId() == reportThreadId_.load();
}

void kelScannerAgent::StopReporting() noexcept {
  // Notifications end first, so that the final report holds all of them.
  UnregisterSink();
  if (const DWORD code = report_.Stop()) {
    logging::Write(logging::kLevelFailure, kStopFunction, L"Error %d stopping the report thread",
                   static_cast<int>(code));
  }
}

void kelScannerAgent::Stop() {
  TraceScope trace(kStopFunction);
  if (OnReportThread()) {
    // Joining the report thread from itself would wait for ever.
    logging::Write(logging::kLevelFailure, kStopFunction,
                   L"Refused: called on the report thread, which cannot wait for itself");
    return;
  }
  StopReporting();
  try {
    StopSteps();
  } catch (...) {
  }
}

void kelScannerAgent::Uninit() {
  if (!OnReportThread()) StopReporting();
  ScanListener::Uninit();
}

void kelScannerAgent::ReportStatistics(HANDLE stop) {
  TraceScope trace(kReportFunction);
  reportThreadId_.store(::GetCurrentThreadId());
  int64_t last = 0;  // the last report sent
  for (;;) {
    const uint32_t period = Reporting::ReportPeriodSeconds(clock_.UnixSeconds(), last);
    const uint32_t wait =
        Reporting::MillisecondsToNextMark(kel::FileTimeTicks(clock_.FileTime()), period);
    logging::Write(logging::kLevelTrace, kWaitFunction, L"Must wait %d", static_cast<int>(wait));
    // A failed wait counts as a stop: the loop ends, with a last report.
    const bool stopped = clock_.WaitFor(stop, wait);
    if (SendStatistics()) last = clock_.UnixSeconds();
    if (stopped) break;
  }
  reportThreadId_.store(0);
}

bool kelScannerAgent::SendStatistics() {
  kel::CriticalSectionLock hold(lock_);
  if (!store_.HasData()) return false;
  try {
    Json::Value body(Json::objectValue);
    store_.Write(body[kStatsKey]);
    SendEvent(kStatsEvent, body, EnterpriseIntegration::kEventOrdinary);
  } catch (...) {
  }
  store_.Reset();
  return true;
}

int32_t kelScannerAgent::OnItemScanned(const ItemScanInfo& info) {
  try {
    const Reporting::Tally tally = Reporting::Tally::Of(info);
    if (tally.counted) {
      // The same second as UnixSeconds(), read the cheap way: the C run
      // time's clock costs microseconds per call under Wine, on every
      // notification.
      const int64_t now = kel::UnixSecondsFromTicks(kel::FileTimeTicks(clock_.FileTime()));
      kel::CriticalSectionLock hold(lock_);
      store_.Fold(tally, now);
    }
    Json::Value detections;
    if (Reporting::WriteDetectionsDocument(info, detections)) {
      SendEvent(Reporting::kDetectionsEvent, detections, EnterpriseIntegration::kEventOrdinary);
    }
  } catch (...) {
  }
  return 0;
}

// Blocked connections carry no message to count.
int32_t kelScannerAgent::OnConnectionBlocked(const ConnectionBlockedInfo&) { return 0; }

}  // namespace kel::MailServers
