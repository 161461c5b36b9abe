#include "reporting/statistics_store.h"

#include "frame/text_convert.h"
#include "reporting/scan_tables.h"

namespace Reporting {

using kel::nusdk::MailServers::ItemScanInfo;

namespace {

std::string Address(const kel::StringW& text) {
  std::string address = kel::Utf8FromWide(text.c_str(), text.Length());
  for (char& ch : address) {
    if (ch >= 'A' && ch <= 'Z') ch = static_cast<char>(ch - 'A' + 'a');
  }
  return address;
}

void AddAddresses(const kel::List<kel::StringW>& texts, std::vector<std::string>& out) {
  for (const kel::StringW& text : texts) {
    if (!text.IsEmpty()) out.push_back(Address(text));
  }
}

const char* AntivirusOutcome(int32_t fileAction) noexcept {
  switch (fileAction) {
    case 3:   // disinfect
    case 10:  // disinfectFile
      return "Cleaned";
    default:
      return (NameOf(kFileActionNames, fileAction) && fileAction != 1) ? "Modified" : "NoAction";
  }
}

// The verdict counters of the last matched rule; none for an unnamed action.
template <class Rules, class MainTable, class SecondaryTable>
std::vector<std::string> Verdict(const Rules& rules, const MainTable& mainNames,
                                 int32_t deliverCode, const SecondaryTable& secondaryNames) {
  std::vector<std::string> counters;
  const auto* last = rules.LastConst();
  if (!last) return counters;
  if (last->mainActionTaken == deliverCode) {
    for (int32_t code : last->secondaryActionsTaken) {
      if (const char* name = NameOf(secondaryNames, code)) {
        counters.push_back(std::string("deliverEmail.") + name);
      }
    }
    if (counters.empty()) counters.emplace_back("noAction");
  } else if (const char* name = NameOf(mainNames, last->mainActionTaken)) {
    counters.emplace_back(name);
  }
  return counters;
}

void Add(std::vector<Tally::FilterCount>& out, const char* filter,
         const std::vector<std::string>& counters) {
  for (const std::string& counter : counters) out.push_back({filter, counter});
}

}  // namespace

Tally Tally::Of(const ItemScanInfo& info) {
  Tally tally;
  if (!info.onDemandTaskId.IsZero() || info.objectType != 0) return tally;
  tally.counted = true;
  const char* traffic = NameOf(kTrafficNames, info.traffic);
  tally.traffic = traffic ? traffic : kUnknownTraffic;

  AddAddresses(info.recipientConnections, tally.recipients);
  if (tally.recipients.empty()) AddAddresses(info.recipientEmails, tally.recipients);
  tally.sender =
      Address(info.senderConnection.IsEmpty() ? info.senderEmail : info.senderConnection);

  tally.antispam =
      Verdict(info.antispam.rules, kEmailActionNames, kEmailActionDeliver, kAntispamSecondaryNames);
  Add(tally.byFilter, "antispam", tally.antispam);
  if (info.antivirus.rules.Count() != 0) {
    tally.byFilter.push_back({"antivirus", AntivirusOutcome(info.antivirus.action)});
  }
  Add(tally.byFilter, "attachment",
      Verdict(info.attachment.rules, kAttachmentActionNames, kAttachmentActionDeliver,
              kAttachmentSecondaryNames));
  Add(tally.byFilter, "content",
      Verdict(info.content.rules, kEmailActionNames, kEmailActionDeliver, kContentSecondaryNames));

  for (const auto& rule : info.antivirus.rules) {
    for (const auto& threat : rule.threats) {
      tally.threats.push_back({kel::Utf8FromWide(threat.name.c_str(), threat.name.Length()),
                               NameOf(kThreatTypeNames, threat.type),
                               AntivirusOutcome(rule.actionTaken)});
    }
  }
  return tally;
}

void StatsInterval::Touch(int64_t now) noexcept {
  if (first == 0) first = now;
  last = now;
}

void StatisticsStore::Fold(const Tally& tally, int64_t now) {
  if (!tally.counted) return;

  stats_.transport.interval.Touch(now);
  ++stats_.transport.count;
  StatsTraffic& traffic = stats_.transport.byTraffic[tally.traffic];
  ++traffic.total;
  for (const Tally::FilterCount& count : tally.byFilter) {
    ++traffic.byFilter[count.filter][count.counter];
  }

  if (!tally.antispam.empty() && !tally.recipients.empty()) {
    stats_.antispam.interval.Touch(now);
    ++stats_.antispam.count;
    for (const std::string& recipient : tally.recipients) {
      StatsCounters& counters = stats_.antispam.sentTo[recipient];
      for (const std::string& counter : tally.antispam) ++counters[counter];
    }
  }

  if (tally.threats.empty()) return;
  const bool bySender = !tally.sender.empty();
  if (!tally.recipients.empty() || bySender) stats_.antivirus.interval.Touch(now);
  if (!tally.recipients.empty()) ++stats_.antivirus.recipients;
  if (bySender) ++stats_.antivirus.senders;
  for (const Tally::ThreatCount& threat : tally.threats) {
    if (!tally.recipients.empty()) {
      StatsThreat& sentTo = stats_.antivirus.sentTo[threat.name];
      sentTo.type = threat.type;
      for (const std::string& recipient : tally.recipients) {
        ++sentTo.byAddress[recipient][threat.counter];
      }
    }
    if (bySender) {
      StatsThreat& sentBy = stats_.antivirus.sentBy[threat.name];
      sentBy.type = threat.type;
      ++sentBy.byAddress[tally.sender][threat.counter];
    }
  }
}

bool StatisticsStore::HasData() const noexcept {
  return stats_.antispam.count != 0 || stats_.antivirus.recipients != 0 ||
         stats_.antivirus.senders != 0 || stats_.transport.count != 0;
}

void StatisticsStore::Write(Json::Value& stats) const {
  EnterpriseIntegration::JsonSerializer<Statistics>::Save(stats, stats_);
}

void StatisticsStore::Reset() { stats_ = Statistics(); }

bool AntispamCounted(const Statistics& stats) noexcept { return stats.antispam.count != 0; }

bool AntivirusCounted(const Statistics& stats) noexcept {
  return stats.antivirus.recipients != 0 || stats.antivirus.senders != 0;
}

bool TransportCounted(const Statistics& stats) noexcept { return stats.transport.count != 0; }

bool TableNameCodec::Save(const char* name, Json::Value& out) const {
  if (name == nullptr) return false;
  out = Json::Value(Json::StaticString(name));
  return true;
}

void TableNameCodec::Describe(EnterpriseIntegration::SchemaDirection, Json::Value& out) const {
  out = EnterpriseIntegration::EnumSchema(table);
}

}  // namespace Reporting
