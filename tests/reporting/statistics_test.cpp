// The statistics: the report clock's arithmetic, what each scan result adds
// to which counter, and the report thread on a manual clock.
#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "frame/manual_clock.h"
#include "reporting/report_clock.h"
#include "reporting/statistics_agent.h"
#include "reporting/statistics_store.h"
#include "tests/agent/fakes.h"
#include "tests/agent/json_test_util.h"
#include "tests/reporting/report_recorder.h"
#include "tests/reporting/scan_items.h"

namespace {

using json_test::Canonical;
using json_test::Compact;
using reporting_test::Codes;
using reporting_test::ItemScanInfo;
using reporting_test::SpamRule;
using reporting_test::Texts;
using reporting_test::TransportEmail;
using reporting_test::VirusRule;

constexpr int64_t kTenAm = 1'795'514'400;  // 2026-11-24 10:00:00 UTC, an even minute
constexpr int64_t kTicksPerSecond = 10'000'000;
constexpr int64_t kUnixEpochTicks = 116'444'736'000'000'000;

int64_t Ticks(int64_t unixSeconds, int64_t milliseconds = 0) {
  return kUnixEpochTicks + unixSeconds * kTicksPerSecond + milliseconds * 10'000;
}

TEST(ReportClock, PeriodByTimeSinceTheLastReport) {
  struct Case {
    int64_t now, last;
    uint32_t period;
  };
  const Case cases[] = {
      {kTenAm, 0, 30},                      // nothing sent yet
      {kTenAm, kTenAm, 120},                // just sent
      {kTenAm, kTenAm - 130, 120},          // the last second of a busy spell
      {kTenAm, kTenAm - 131, 30},           // idle
      {kTenAm, kTenAm + 10, 30},            // the clock went back: looks idle
      {kTenAm, kTenAm - 0x100000000, 120},  // the difference is taken modulo 2^32
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Reporting::ReportPeriodSeconds(c.now, c.last), c.period)
        << c.now << " after " << c.last;
  }
}

TEST(ReportClock, MillisecondsToTheNextMarkOfThePeriod) {
  struct Case {
    int64_t ticks;
    uint32_t period;
    uint32_t wait;
  };
  const Case cases[] = {
      {Ticks(kTenAm + 45), 30, 15'000},  // 10:00:45 -> 10:01:00
      {Ticks(kTenAm + 45, 250), 30, 14'750},
      {Ticks(kTenAm + 60), 120, 60'000},           // 10:01:00 -> 10:02:00, an even minute
      {Ticks(kTenAm), 120, 120'000},               // on a mark: the whole period
      {Ticks(kTenAm + 119, 999) + 5'000, 120, 1},  // half a millisecond before
      {Ticks(kTenAm + 61), 30, 29'000},
      {0, 120, 120'000},  // the epoch of FILETIME is a mark
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Reporting::MillisecondsToNextMark(c.ticks, c.period), c.wait) << c.ticks;
  }
}

// Items folded one second apart from kTenAm; the store's document after them.
struct FoldCase {
  const char* name;
  std::vector<std::function<void(ItemScanInfo&)>> items;
  const char* expected;
};

Json::Value FoldAll(const FoldCase& c) {
  Reporting::StatisticsStore store;
  int64_t now = kTenAm;
  for (const auto& change : c.items) {
    ItemScanInfo item = TransportEmail();
    change(item);
    store.Fold(Reporting::Tally::Of(item), now++);
  }
  Json::Value stats(Json::objectValue);
  store.Write(stats);
  EXPECT_EQ(store.HasData(), stats.size() != 0);
  store.Reset();
  EXPECT_FALSE(store.HasData());
  return stats;
}

TEST(StatisticsStore, WhatEachScanResultFeeds) {
  const FoldCase cases[] = {
      {"on-demand scans and objects are not mail flow",
       {[](ItemScanInfo& item) {
          item.onDemandTaskId = {1, 0};
        },
        [](ItemScanInfo& item) { item.objectType = 1; }},
       "{}"},
      {"a clean message counts in its traffic only",
       {[](ItemScanInfo&) {}},
       R"({"transport": {"interval": {"first": 1795514400, "last": 1795514400},
           "byTraffic": {"incoming": {"total": 1, "byFilter": {}}}}})"},
      {"antispam: the last rule's verdict per envelope recipient, addresses in lower case",
       {[](ItemScanInfo& item) {
          item.antispam.rules.EmplaceBack(SpamRule(L"Q", 2, {}));
          item.antispam.rules.EmplaceBack(SpamRule(L"D", 3, {0, 1}));
        },
        [](ItemScanInfo& item) {
          item.traffic = 2;
          item.recipientConnections = Texts({L"BOB@corp.test"});
          item.antispam.rules.EmplaceBack(SpamRule(L"D", 3, {}));
        },
        [](ItemScanInfo& item) {  // no envelope recipients: the message's
          item.traffic = 4;
          item.recipientConnections.RemoveAll();
          item.antispam.rules.EmplaceBack(SpamRule(L"D", 3, {9}));
        },
        [](ItemScanInfo& item) {
          item.recipientConnections = Texts({L"bob@corp.test", L""});
          item.antispam.rules.EmplaceBack(SpamRule(L"Q", 2, {0}));
        },
        [](ItemScanInfo& item) { item.antispam.rules.EmplaceBack(SpamRule(L"X", 7, {})); }},
       R"({"antispam": {"interval": {"first": 1795514400, "last": 1795514403},
           "sentTo": {
             "bob@corp.test": {"deliverEmail.addHeader": 1, "deliverEmail.tagSubject": 1,
                               "noAction": 2, "quarantineEmail": 1},
             "carol@corp.test": {"deliverEmail.addHeader": 1, "deliverEmail.tagSubject": 1}}},
          "transport": {"interval": {"first": 1795514400, "last": 1795514404},
           "byTraffic": {
             "incoming": {"total": 3, "byFilter": {"antispam": {
               "deliverEmail.addHeader": 1, "deliverEmail.tagSubject": 1, "quarantineEmail": 1}}},
             "outgoing": {"total": 1, "byFilter": {"antispam": {"noAction": 1}}},
             "internal": {"total": 1, "byFilter": {"antispam": {"noAction": 1}}}}}})"},
      {"antivirus: each threat by recipient and by sender, with the rule's outcome",
       {[](ItemScanInfo& item) {
          item.antivirus.action = 10;
          item.antivirus.rules.EmplaceBack(VirusRule(L"a.doc", 10, L"W97M.Macro", 0));
          item.antivirus.rules.EmplaceBack(VirusRule(L"b.exe", 5, L"Trojan.Agent", 0x86));
        },
        [](ItemScanInfo& item) {
          item.senderConnection = L"";
          item.recipientConnections = Texts({L"dave@corp.test"});
          item.antivirus.action = 1;
          item.antivirus.rules.EmplaceBack(VirusRule(L"c.exe", 1, L"W97M.Macro", 0));
          item.antivirus.rules.EmplaceBack(VirusRule(L"d", 99, L"Odd", 8));
          item.antivirus.rules.EmplaceBack(VirusRule(L"e", 5, nullptr, 0));
        }},
       R"({"antivirus": {"interval": {"first": 1795514400, "last": 1795514401},
           "sentTo": {
             "W97M.Macro": {"type": "virus", "byAddress": {"bob@corp.test": {"Cleaned": 1},
               "carol@corp.test": {"Cleaned": 1}, "dave@corp.test": {"NoAction": 1}}},
             "Trojan.Agent": {"type": "pua", "byAddress": {"bob@corp.test": {"Modified": 1},
               "carol@corp.test": {"Modified": 1}}},
             "Odd": {"byAddress": {"dave@corp.test": {"NoAction": 1}}}},
           "sentBy": {
             "W97M.Macro": {"type": "virus",
               "byAddress": {"alice@example.test": {"Cleaned": 1, "NoAction": 1}}},
             "Trojan.Agent": {"type": "pua", "byAddress": {"alice@example.test": {"Modified": 1}}},
             "Odd": {"byAddress": {"alice@example.test": {"NoAction": 1}}}}},
          "transport": {"interval": {"first": 1795514400, "last": 1795514401},
           "byTraffic": {"incoming": {"total": 2,
             "byFilter": {"antivirus": {"Cleaned": 1, "NoAction": 1}}}}}})"},
      {"attachment and content verdicts by filter; domain check has no counter",
       {[](ItemScanInfo& item) {
          ItemScanInfo::Attachment::RuleInfo attachment;
          attachment.mainActionTaken = 1;
          item.attachment.rules.EmplaceBack(attachment);
          ItemScanInfo::Content::RuleInfo content;
          content.mainActionTaken = 3;
          content.secondaryActionsTaken = Codes({0, 4});
          item.content.rules.EmplaceBack(content);
          ItemScanInfo::DomainCheck::RuleInfo domain;
          item.domainCheck.rules.EmplaceBack(domain);
        },
        [](ItemScanInfo& item) {
          ItemScanInfo::Attachment::RuleInfo attachment;
          attachment.mainActionTaken = 5;
          attachment.secondaryActionsTaken = Codes({4});
          item.attachment.rules.EmplaceBack(attachment);
          item.antivirus.action = 0x302;  // rules decide whether a module counts
        }},
       R"({"transport": {"interval": {"first": 1795514400, "last": 1795514401},
           "byTraffic": {"incoming": {"total": 2, "byFilter": {
             "attachment": {"deleteAttachment": 1, "deliverEmail.forwardEmail": 1},
             "content": {"deliverEmail.notifyInternalRecipients": 1,
                         "deliverEmail.tagSubject": 1}}}}}})"},
  };
  for (const FoldCase& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(Compact(FoldAll(c)), Canonical(c.expected));
  }
}

// The statistics agent on a manual clock that starts at 10:00:45 and moves
// only as far as the test lets it.
class StatisticsAgentTest : public ::testing::Test {
 protected:
  static constexpr uint32_t kParkTimeoutMs = 10'000;

  StatisticsAgentTest() {
    components_.Offer(EnterpriseIntegration::kManagerComponentName,
                      EnterpriseIntegration::IID_IManager, &manager_.manager);
    components_.Offer(kel::nusdk::MailServers::kOnAccessComponentName,
                      kel::nusdk::MailServers::IID_IMailServers, &plugin_);
    clock_.SetLimit(kTenAm + 45);
  }
  ~StatisticsAgentTest() override { agent_.Stop(); }

  void InitAndStart() {
    ASSERT_EQ(agent_.Init(&main_), 0u);
    ASSERT_EQ(plugin_.sinks.size(), 1u);
    ASSERT_EQ(agent_.Start(), 0u);
  }
  void Scan() { EXPECT_EQ(plugin_.sinks.at(0)->OnItemScanned(TransportEmail()), 0); }
  // Lets the clock run to `unixSeconds` and waits for the thread to park there.
  void RunTo(int64_t unixSeconds) {
    clock_.SetLimit(unixSeconds);
    ASSERT_TRUE(clock_.WaitUntilParked(kParkTimeoutMs));
  }
  std::vector<int64_t> ReportTimes() const {
    std::vector<int64_t> times;
    for (const reporting_test::Report& report : manager_.Reports()) times.push_back(report.at);
    return times;
  }

  kel::ManualClock clock_{kTenAm + 45};
  reporting_test::FakeOnAccess plugin_;
  reporting_test::ReportRecorder manager_{clock_};
  kel::test::FakeComponentManager components_;
  kel::test::FakeServMain main_{&components_};
  kel::MailServers::kelScannerAgent agent_{L"kel.MailServers.Scanner", clock_};
};

TEST_F(StatisticsAgentTest, ReportsOnTheMarksOfTheUtcClock) {
  InitAndStart();
  ASSERT_TRUE(clock_.WaitUntilParked(kParkTimeoutMs));  // waiting for 10:01:00
  Scan();                                               // at 10:00:45, after a long idle
  RunTo(kTenAm + 60);                                   // the next 30-second mark
  EXPECT_EQ(ReportTimes(), std::vector<int64_t>({kTenAm + 60}));

  // Right after a report the thread waits for the next two-minute mark; a
  // scan meanwhile is reported there, and nothing is sent while idle.
  Scan();
  RunTo(kTenAm + 600);
  EXPECT_EQ(ReportTimes(), std::vector<int64_t>({kTenAm + 60, kTenAm + 120}));
  const std::vector<reporting_test::Report> reports = manager_.Reports();
  EXPECT_EQ(reports[0].options, 0u);
  EXPECT_EQ(Compact(reports[0].body["stats"]["transport"]),
            Canonical(R"({"interval": {"first": 1795514445, "last": 1795514445},
                          "byTraffic": {"incoming": {"total": 1, "byFilter": {}}}})"));
  EXPECT_EQ(reports[1].body["stats"]["transport"]["interval"]["first"].asInt64(), kTenAm + 60);
  // Two waits that ended in a report; then, without data, 10:04 and 10:06 on
  // the two-minute clock (the last report is still recent), then every 30
  // seconds up to 10:10.
  EXPECT_EQ(clock_.Waits(), 2u + 2u + 8u);
}

TEST_F(StatisticsAgentTest, StopOnTheReportThreadIsRefusedAndChangesNothing) {
  manager_.onReport = [this] { agent_.Stop(); };
  ASSERT_EQ(agent_.Init(&main_), 0u);
  Scan();
  clock_.SetLimit(kTenAm + 60);
  ASSERT_EQ(agent_.Start(), 0u);
  ASSERT_TRUE(clock_.WaitUntilParked(kParkTimeoutMs));  // reported at 10:01:00, then on
  EXPECT_EQ(ReportTimes(), std::vector<int64_t>({kTenAm + 60}));
  EXPECT_EQ(plugin_.sinks.size(), 1u);
  EXPECT_EQ(manager_.manager.RegisteredNames().size(), 1u);

  manager_.onReport = nullptr;
  Scan();
  agent_.Stop();
  EXPECT_EQ(manager_.Reports().size(), 2u);
  EXPECT_TRUE(plugin_.sinks.empty());
  EXPECT_TRUE(manager_.manager.RegisteredNames().empty());
}

}  // namespace
