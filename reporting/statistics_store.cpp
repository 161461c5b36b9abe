#include "reporting/statistics_store.h"

#include "frame/text_convert.h"
#include "reporting/scan_tables.h"

namespace Reporting {

using kel::nusdk::MailServers::ItemScanInfo;
using Key = Json::StaticString;

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

void WriteInterval(Json::Value& group, int64_t first, int64_t last) {
  Json::Value& interval = group[Key("interval")];
  interval[Key("first")] = static_cast<Json::Int64>(first);
  interval[Key("last")] = static_cast<Json::Int64>(last);
}

template <class Map>
Json::Value CountersObject(const Map& counters) {
  Json::Value object(Json::objectValue);
  for (const auto& counter : counters) object[counter.first] = Json::UInt64(counter.second);
  return object;
}

template <class Threats>
Json::Value ThreatsObject(const Threats& threats) {
  Json::Value object(Json::objectValue);
  for (const auto& threat : threats) {
    Json::Value& written = object[threat.first];
    if (threat.second.type) written[Key("type")] = Json::Value(Key(threat.second.type));
    Json::Value& byAddress = written[Key("byAddress")] = Json::Value(Json::objectValue);
    for (const auto& address : threat.second.byAddress) {
      byAddress[address.first] = CountersObject(address.second);
    }
  }
  return object;
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

void StatisticsStore::Interval::Touch(int64_t now) noexcept {
  if (first == 0) first = now;
  last = now;
}

void StatisticsStore::Fold(const Tally& tally, int64_t now) {
  if (!tally.counted) return;

  transport_.interval.Touch(now);
  ++transport_.count;
  Traffic& traffic = transport_.byTraffic[tally.traffic];
  ++traffic.total;
  for (const Tally::FilterCount& count : tally.byFilter) {
    ++traffic.byFilter[count.filter][count.counter];
  }

  if (!tally.antispam.empty() && !tally.recipients.empty()) {
    antispam_.interval.Touch(now);
    ++antispam_.count;
    for (const std::string& recipient : tally.recipients) {
      Counters& counters = antispam_.sentTo[recipient];
      for (const std::string& counter : tally.antispam) ++counters[counter];
    }
  }

  if (tally.threats.empty()) return;
  const bool bySender = !tally.sender.empty();
  if (!tally.recipients.empty() || bySender) antivirus_.interval.Touch(now);
  if (!tally.recipients.empty()) ++antivirus_.recipients;
  if (bySender) ++antivirus_.senders;
  for (const Tally::ThreatCount& threat : tally.threats) {
    if (!tally.recipients.empty()) {
      Threat& sentTo = antivirus_.sentTo[threat.name];
      sentTo.type = threat.type;
      for (const std::string& recipient : tally.recipients) {
        ++sentTo.byAddress[recipient][threat.counter];
      }
    }
    if (bySender) {
      Threat& sentBy = antivirus_.sentBy[threat.name];
      sentBy.type = threat.type;
      ++sentBy.byAddress[tally.sender][threat.counter];
    }
  }
}

bool StatisticsStore::HasData() const noexcept {
  return antispam_.count != 0 || antivirus_.recipients != 0 || antivirus_.senders != 0 ||
         transport_.count != 0;
}

void StatisticsStore::Write(Json::Value& stats) const {
  if (antispam_.count != 0) {
    Json::Value& group = stats[Key("antispam")];
    WriteInterval(group, antispam_.interval.first, antispam_.interval.last);
    Json::Value& sentTo = group[Key("sentTo")] = Json::Value(Json::objectValue);
    for (const auto& address : antispam_.sentTo) {
      sentTo[address.first] = CountersObject(address.second);
    }
  }
  if (antivirus_.recipients != 0 || antivirus_.senders != 0) {
    Json::Value& group = stats[Key("antivirus")];
    WriteInterval(group, antivirus_.interval.first, antivirus_.interval.last);
    group[Key("sentTo")] = ThreatsObject(antivirus_.sentTo);
    group[Key("sentBy")] = ThreatsObject(antivirus_.sentBy);
  }
  if (transport_.count != 0) {
    Json::Value& group = stats[Key("transport")];
    WriteInterval(group, transport_.interval.first, transport_.interval.last);
    Json::Value& byTraffic = group[Key("byTraffic")] = Json::Value(Json::objectValue);
    for (const auto& traffic : transport_.byTraffic) {
      Json::Value& written = byTraffic[traffic.first];
      written[Key("total")] = Json::UInt64(traffic.second.total);
      Json::Value& byFilter = written[Key("byFilter")] = Json::Value(Json::objectValue);
      for (const auto& filter : traffic.second.byFilter) {
        byFilter[filter.first] = CountersObject(filter.second);
      }
    }
  }
}

void StatisticsStore::Reset() {
  antispam_ = decltype(antispam_)();
  antivirus_ = decltype(antivirus_)();
  transport_ = decltype(transport_)();
}

}  // namespace Reporting
