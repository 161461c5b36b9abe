// OnItemScanned of the scanner agent, trace and send included, against
// building the same document directly on jsoncpp, for a realistic e-mail
// (three modules with two rules each); and the statistics agent's
// notifications from 1, 2, 4 and 8 threads at once. The program ends with the
// agent's rate as a share of the direct build's.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <json/value.h>

#include "frame/text_convert.h"
#include "reporting/item_document.h"
#include "reporting/scanner_agent.h"
#include "reporting/statistics_agent.h"
#include "tests/agent/fakes.h"
#include "tests/reporting/scan_items.h"

namespace {

using kel::nusdk::MailServers::ItemScanInfo;

// Takes every event and drops it: the cost measured is the agent's.
class DroppingManager final : public EnterpriseIntegration::IManager {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return this; }
  uint32_t SendEvent(const wchar_t*, const Json::Value* body, uint32_t) override {
    benchmark::DoNotOptimize(body);
    return 0;
  }
  uint32_t LogEvent(uint32_t, uint32_t, uint32_t, const wchar_t*, uint32_t, uint32_t,
                    const Json::Value*) override {
    return 0;
  }
  bool IsConnected() override { return true; }
  bool RegisterAgent(EnterpriseIntegration::IAgent*) override { return true; }
  void UnregisterAgent(EnterpriseIntegration::IAgent*) override {}
  void NotifyConfigurationChanged(uint32_t) override {}
};

// One host for the whole program; both agents initialised, not started (the
// statistics are folded, never reported, so the store keeps its few keys).
struct Host {
  Host() {
    components.Offer(EnterpriseIntegration::kManagerComponentName,
                     EnterpriseIntegration::IID_IManager, &manager);
    components.Offer(kel::nusdk::MailServers::kOnAccessComponentName,
                     kel::nusdk::MailServers::IID_IMailServers, &plugin);
    scanner.Init(&main);
    statistics.Init(&main);
  }

  DroppingManager manager;
  reporting_test::FakeOnAccess plugin;
  kel::test::FakeComponentManager components;
  kel::test::FakeServMain main{&components};
  kel::nusdk::MailServers::ScannerAgent scanner{L"MailServers.Scanner"};
  kel::MailServers::kelScannerAgent statistics{L"kel.MailServers.Scanner"};
};

Host& TheHost() {
  static Host host;
  return host;
}

// ---- The document written straight on jsoncpp, as one would without tables.

std::string Utf8(const kel::StringW& text) {
  return kel::Utf8FromWide(text.c_str(), text.Length());
}

const char* FileAction(int32_t code) {
  switch (code) {
    case 1:
      return "ignoreFile";
    case 3:
      return "disinfect";
    case 5:
      return "deleteFile";
    case 7:
      return "quarantineFile";
    case 10:
      return "disinfectFile";
    case 0x302:
      return "quarantineEmail";
    case 0x402:
      return "redirectEmail";
    case 0x505:
      return "replaceFile";
    case 0x602:
      return "rejectOrDeleteEmail";
    default:
      return nullptr;
  }
}
const char* EmailAction(int32_t code) {
  static const char* const kNames[] = {"rejectOrDeleteEmail", "redirectEmail", "quarantineEmail",
                                       "deliverEmail"};
  return code >= 0 && code < 4 ? kNames[code] : nullptr;
}
const char* Secondary(int32_t code) {
  static const char* const kNames[] = {"tagSubject",      "addHeader",
                                       "saveToFolder",    "bccTo",
                                       "addSCLHeader",    "notifyInternalRecipients",
                                       "notifyRecipients"};
  return code >= 0 && code < 7 ? kNames[code] : nullptr;
}
const char* ThreatType(int32_t code) {
  static const char* const kNames[] = {"virus",   "spyware", "adware",      "spam",
                                       "rootkit", "dialer",  "application", "archiveBomb"};
  if (code >= 0 && code < 8) return kNames[code];
  return code == 0x86 ? "pua" : code == 0x106 ? "keylogger" : code == -1 ? "unknown" : nullptr;
}
Json::Value Flags(uint32_t status) {
  static const std::pair<uint32_t, const char*> kFlags[] = {{1, "clean"},
                                                            {2, "infected"},
                                                            {4, "suspect"},
                                                            {8, "passwordProtected"},
                                                            {16, "deleteAfterReboot"},
                                                            {32, "moveAfterReboot"},
                                                            {0x40000000, "scanFailed"}};
  Json::Value array(Json::arrayValue);
  for (const auto& flag : kFlags) {
    if ((status & flag.first) == flag.first) array.append(flag.second);
  }
  return array;
}
template <class Rule>
void Header(Json::Value& entry, const Rule& rule) {
  entry["ruleName"] = Utf8(rule.ruleName);
  entry["stoppedProcessingMoreRules"] = rule.stoppedProcessingMoreRules;
  entry["detectedWithoutScan"] = rule.detectedWithoutScan;
}
const char* ContentSecondary(int32_t code) {
  static const char* const kNames[] = {
      "tagSubject",      "addHeader", "saveToFolder", "bccTo", "notifyInternalRecipients",
      "notifyRecipients"};
  return code >= 0 && code < 6 ? kNames[code] : nullptr;
}
Json::Value SecondaryList(const kel::List<int32_t>& codes, const char* (*name)(int32_t)) {
  Json::Value array(Json::arrayValue);
  for (int32_t code : codes) {
    if (const char* text = name(code)) array.append(text);
  }
  return array;
}

Json::Value DirectDocument(const ItemScanInfo& info) {
  Json::Value doc(Json::objectValue);
  if (info.antispam.rules.Count() != 0) {
    if (const char* action = FileAction(info.antispam.action)) {
      Json::Value& module = doc["antispam"];
      module["action"] = action;
      Json::Value& rules = module["rulesMatched"];
      Json::ArrayIndex i = 0;
      for (const auto& rule : info.antispam.rules) {
        Json::Value& entry = rules[i++];
        Header(entry, rule);
        entry["spamScore"] = rule.spamScore;
        if (const char* main = EmailAction(rule.mainActionTaken)) entry["mainActionTaken"] = main;
        entry["secondaryActionsTaken"] = SecondaryList(rule.secondaryActionsTaken, Secondary);
        entry["spamLevel"] = rule.spamLevel;
      }
    }
  }
  if (info.antivirus.rules.Count() != 0) {
    Json::Value& module = doc["antivirus"];
    if (const char* action = FileAction(info.antivirus.action)) module["action"] = action;
    Json::Value& rules = module["rulesMatched"];
    Json::ArrayIndex i = 0;
    for (const auto& rule : info.antivirus.rules) {
      Json::Value& entry = rules[i++];
      Header(entry, rule);
      entry["scanned"] = rule.scanned;
      entry["fileName"] = Utf8(rule.fileName);
      entry["isInArchive"] = rule.isInArchive;
      entry["initialScanStatus"] = Flags(rule.initialScanStatus);
      entry["finalScanStatus"] = Flags(rule.finalScanStatus);
      Json::Value threats(Json::arrayValue);
      for (const auto& threat : rule.threats) {
        Json::Value written(Json::objectValue);
        written["name"] = Utf8(threat.name);
        if (const char* type = ThreatType(threat.type)) written["type"] = type;
        threats.append(written);
      }
      entry["threats"] = threats;
      if (const char* action = FileAction(rule.actionTaken)) entry["actionTaken"] = action;
      if (const char* action = FileAction(rule.actionTakenOnParent)) {
        entry["actionTakenOnParent"] = action;
      }
      entry["quarantinedItemId"] = Utf8(rule.quarantinedItemId);
    }
  }
  if (info.content.rules.Count() != 0) {
    Json::Value& module = doc["content"];
    if (const char* action = FileAction(info.content.action)) module["action"] = action;
    Json::Value& rules = module["rulesMatched"];
    Json::ArrayIndex i = 0;
    for (const auto& rule : info.content.rules) {
      Json::Value& entry = rules[i++];
      Header(entry, rule);
      if (const char* main = EmailAction(rule.mainActionTaken)) entry["mainActionTaken"] = main;
      entry["secondaryActionsTaken"] = SecondaryList(rule.secondaryActionsTaken, ContentSecondary);
    }
  }
  static const char* const kOutcomes[] = {"passthrough", "modify", "drop"};
  if (info.actionTaken >= 0 && info.actionTaken < 3)
    doc["actionTaken"] = kOutcomes[info.actionTaken];
  doc["subject"] = Utf8(info.subject);
  doc["size"] = static_cast<Json::Int64>(info.size);
  doc["authenticated"] = info.authenticated;
  doc["sentBy"]["connection"] = Utf8(info.senderConnection);
  doc["sentBy"]["email"] = Utf8(info.senderEmail);
  Json::Value to(Json::arrayValue);
  for (const auto& address : info.recipientConnections) to.append(Utf8(address));
  doc["sentTo"]["connection"] = to;
  Json::Value toEmail(Json::arrayValue);
  for (const auto& address : info.recipientEmails) toEmail.append(Utf8(address));
  doc["sentTo"]["email"] = toEmail;
  doc["messageId"] = Utf8(info.messageId);
  doc["quarantinedItemID"] = Utf8(info.quarantinedItemId);
  doc["sourceIP"]["connection"] = Utf8(info.sourceIp);
  doc["traffic"] = info.traffic == 1 ? "incoming" : info.traffic == 2 ? "outgoing" : "internal";
  return doc;
}

void ScanEventDirect(benchmark::State& state) {
  const ItemScanInfo item = reporting_test::BusyEmail();
  Json::Value check;
  Reporting::WriteItemDocument(item, check);
  if (DirectDocument(item) != check) state.SkipWithError("the direct build differs");
  DroppingManager sink;
  for (auto _ : state) {
    const Json::Value doc = DirectDocument(item);
    sink.SendEvent(L"MailServers.Transport.EmailScanned", &doc, 512);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(ScanEventDirect)->Name("scan_event/direct");

void ScanEventAgent(benchmark::State& state) {
  const ItemScanInfo item = reporting_test::BusyEmail();
  kel::nusdk::MailServers::IScanNotifications& sink = TheHost().scanner;
  for (auto _ : state) benchmark::DoNotOptimize(sink.OnItemScanned(item));
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(ScanEventAgent)->Name("scan_event/agent");

// Clean messages fold only; busy ones also build a detections event.
template <bool kBusy>
void Fold(benchmark::State& state) {
  const ItemScanInfo item = kBusy ? reporting_test::BusyEmail() : reporting_test::TransportEmail();
  kel::nusdk::MailServers::IScanNotifications& sink = TheHost().statistics;
  for (auto _ : state) benchmark::DoNotOptimize(sink.OnItemScanned(item));
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_TEMPLATE(Fold, false)->Name("fold/clean")->ThreadRange(1, 8)->UseRealTime();
BENCHMARK_TEMPLATE(Fold, true)->Name("fold/busy")->ThreadRange(1, 8)->UseRealTime();

class RateReporter final : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (!run.error_occurred && run.iterations != 0) {
        cpu_[run.benchmark_name()] = run.GetAdjustedCPUTime();
      }
    }
  }
  double Cpu(const std::string& name) const {
    const auto found = cpu_.find(name);
    return found == cpu_.end() ? 0 : found->second;
  }

 private:
  std::map<std::string, double> cpu_;
};

}  // namespace

int main(int argc, char** argv) {
  TheHost();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RateReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  const double direct = reporter.Cpu("scan_event/direct");
  const double agent = reporter.Cpu("scan_event/agent");
  if (direct <= 0 || agent <= 0) return 0;
  constexpr double kGoal = 0.7;
  const double share = direct / agent;
  std::printf("\nOnItemScanned at %.2f of the direct build's rate (goal %.1f%s)\n", share, kGoal,
              share >= kGoal ? "" : ", MISSED");
  return share >= kGoal ? 0 : 2;
}
