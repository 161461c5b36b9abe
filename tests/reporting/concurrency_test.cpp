// Eight plug-in threads notify the statistics agent while its report thread
// reports every millisecond or so: every notification is counted in exactly
// one report.
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "reporting/statistics_agent.h"
#include "tests/agent/fakes.h"
#include "tests/reporting/report_recorder.h"
#include "tests/reporting/scan_items.h"

namespace {

using reporting_test::ItemScanInfo;

// Real time, but every wait is one millisecond.
class HurriedClock final : public kel::Clock {
 public:
  int64_t UnixSeconds() const noexcept override { return system().UnixSeconds(); }
  FILETIME FileTime() const noexcept override { return system().FileTime(); }
  bool WaitFor(HANDLE stop, uint32_t) noexcept override { return system().WaitFor(stop, 1); }

 private:
  static kel::Clock& system() noexcept { return kel::SystemClock::Instance(); }
};

// The sum of every count in a statistics document: the counters and the
// traffic totals, not the intervals.
uint64_t SumOfCounts(const Json::Value& value) {
  if (value.isIntegral()) return value.asUInt64();
  uint64_t sum = 0;
  if (!value.isObject()) return sum;
  for (auto it = value.begin(); it != value.end(); ++it) {
    if (it.name() != "interval") sum += SumOfCounts(*it);
  }
  return sum;
}

// What one item adds to the counts, folded alone.
uint64_t CountsOf(const ItemScanInfo& item) {
  Reporting::StatisticsStore store;
  store.Fold(Reporting::Tally::Of(item), 1);
  Json::Value stats(Json::objectValue);
  store.Write(stats);
  return SumOfCounts(stats);
}

TEST(StatisticsConcurrency, EveryNotificationIsCountedInExactlyOneReport) {
  constexpr int kThreads = 8;
  constexpr int kPerThread = 100'000;

  // Most threads send clean messages, two send messages that feed every group
  // (and cost a detections event each).
  ItemScanInfo clean = reporting_test::TransportEmail();
  ItemScanInfo busy = reporting_test::TransportEmail();
  busy.antispam.rules.EmplaceBack(reporting_test::SpamRule(L"Bulk", 3, {0}));
  busy.antivirus.action = 10;
  busy.antivirus.rules.EmplaceBack(reporting_test::VirusRule(L"a.doc", 10, L"W97M.Macro", 0));
  constexpr int kBusyThreads = 2;
  const uint64_t expected =
      (CountsOf(clean) * (kThreads - kBusyThreads) + CountsOf(busy) * kBusyThreads) * kPerThread;

  HurriedClock clock;
  reporting_test::FakeOnAccess plugin;
  reporting_test::ReportRecorder manager(clock);
  kel::test::FakeComponentManager components;
  components.Offer(EnterpriseIntegration::kManagerComponentName,
                   EnterpriseIntegration::IID_IManager, &manager.manager);
  components.Offer(kel::nusdk::MailServers::kOnAccessComponentName,
                   kel::nusdk::MailServers::IID_IMailServers, &plugin);
  kel::test::FakeServMain main(&components);
  kel::MailServers::kelScannerAgent agent(L"kel.MailServers.Scanner", clock);
  ASSERT_EQ(agent.Init(&main), 0u);
  ASSERT_EQ(agent.Start(), 0u);
  kel::nusdk::MailServers::IScanNotifications* sink = plugin.sinks.at(0);

  const auto start = std::chrono::steady_clock::now();
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    const ItemScanInfo* item = t < kBusyThreads ? &busy : &clean;
    threads.emplace_back([sink, item] {
      for (int i = 0; i < kPerThread; ++i) sink->OnItemScanned(*item);
    });
  }
  for (std::thread& thread : threads) thread.join();
  const auto notified = std::chrono::steady_clock::now();
  agent.Stop();

  const std::vector<reporting_test::Report> reports = manager.Reports();
  uint64_t counted = 0;
  for (const reporting_test::Report& report : reports) counted += SumOfCounts(report.body);
  EXPECT_EQ(counted, expected);
  EXPECT_EQ(manager.OtherEvents(), static_cast<size_t>(kBusyThreads) * kPerThread);
  // More than the final report: the reports really ran beside the notifications.
  EXPECT_GT(reports.size(), 2u);
  std::printf("%d notifications in %lld ms, %zu reports\n", kThreads * kPerThread,
              static_cast<long long>(
                  std::chrono::duration_cast<std::chrono::milliseconds>(notified - start).count()),
              reports.size());
  agent.Uninit();
}

}  // namespace
