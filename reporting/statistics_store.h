#pragma once
// The mail-flow statistics between two reports, and what one scan result adds
// to them.
//
// Only transport-scanned e-mails count (an all-zero task id, object type 0):
// on-demand scans are not mail flow, and objects have no addresses. Addresses
// are the envelope's (the recipients' list falls back to the message's when
// the envelope's is empty, likewise the sender), in ASCII lower case, since
// that is what a console blocks or allows; empty addresses are skipped.
//
// A filter's verdict on a message is the main action of its last matched
// rule, the rule whose action was in effect when the filter finished:
//   deliverEmail with secondary actions  one counter per named secondary
//                                        action, "deliverEmail.<name>"
//   deliverEmail without (or none named) "noAction"
//   any other named main action          its name ("quarantineEmail")
//   an unnamed main action               nothing
// The antivirus outcome of a file action is "Cleaned" (disinfect,
// disinfectFile), "NoAction" (ignoreFile, or a code without a name) or
// "Modified" (every other: the item was changed, withheld or removed).
//
// | counters (byAddress left out)       | fed by                         | counter          |
// |-------------------------------------|--------------------------------|------------------|
// | antispam sentTo[recipient]          | the antispam rules, when any   | the verdict      |
// |                                     |   matched                      |                  |
// | antivirus sentTo[threat][recipient] | each threat of each antivirus  | the outcome of   |
// | antivirus sentBy[threat][sender]    |   rule; "type" its type's name |   the rule's     |
// |                                     |                                |   actionTaken    |
// | transport byTraffic[t].total        | every message counted          | (one integer)    |
// | transport byTraffic[t].byFilter[f]  | f antispam, content: their     | the verdict      |
// |                                     |   rules, e-mail action table   |                  |
// |                                     | f attachment: its rules,       | the verdict      |
// |                                     |   attachment action table      |                  |
// |                                     | f antivirus: the module action | the outcome      |
//
// Traffic names are "incoming", "outgoing", "internal", or "n/a" for any other
// code. Domain check has no group: it matches senders, not messages a console
// acts on per address. Each group has an interval: the Unix seconds of the
// first and the last message folded into it since the last reset.
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include <json/value.h>

#include "agent/json/json_schema_writer.h"
#include "agent/json/json_serializer.h"
#include "reporting/scan_tables.h"
#include "sdk/mailservers/mail_servers.h"

namespace Reporting {

// What one scan result adds, worked out before the statistics lock is taken
// so that the lock is held only to add it.
struct Tally {
  struct FilterCount {
    const char* filter;
    std::string counter;
  };
  struct ThreatCount {
    std::string name;
    const char* type;  // null when the code has no name
    const char* counter;
  };

  bool counted = false;  // a transport e-mail
  const char* traffic = nullptr;
  std::vector<FilterCount> byFilter;
  std::vector<std::string> recipients;
  std::string sender;
  std::vector<std::string> antispam;  // counters per recipient
  std::vector<ThreatCount> threats;

  static Tally Of(const kel::nusdk::MailServers::ItemScanInfo& info);
};

// The counts since the last reset, as the report writes them.
struct StatsInterval {
  int64_t first = 0;
  int64_t last = 0;
  void Touch(int64_t now) noexcept;
};
using StatsCounters = std::map<std::string, uint64_t>;
using StatsByAddress = std::unordered_map<std::string, StatsCounters>;
struct StatsThreat {
  const char* type = nullptr;  // the threat type's name; null leaves "type" out
  StatsByAddress byAddress;
};
struct StatsTraffic {
  uint64_t total = 0;
  std::map<std::string, StatsCounters> byFilter;
};
struct AntispamStats {
  StatsInterval interval;
  uint64_t count = 0;
  StatsByAddress sentTo;
};
struct AntivirusStats {
  StatsInterval interval;
  uint64_t recipients = 0;
  uint64_t senders = 0;
  std::unordered_map<std::string, StatsThreat> sentTo;
  std::unordered_map<std::string, StatsThreat> sentBy;
};
struct TransportStats {
  StatsInterval interval;
  uint64_t count = 0;
  std::unordered_map<std::string, StatsTraffic> byTraffic;
};
// Each group is written only when its count is not zero.
struct Statistics {
  AntispamStats antispam;
  AntivirusStats antivirus;
  TransportStats transport;
};

// Not synchronised: its owner holds the statistics lock around every call.
class StatisticsStore {
 public:
  void Fold(const Tally& tally, int64_t nowUnixSeconds);

  // The four "has data" counts: messages folded into each part since the
  // last reset.
  uint64_t antispamCount() const noexcept { return stats_.antispam.count; }
  uint64_t antivirusRecipientsCount() const noexcept { return stats_.antivirus.recipients; }
  uint64_t antivirusSendersCount() const noexcept { return stats_.antivirus.senders; }
  uint64_t transportCount() const noexcept { return stats_.transport.count; }
  bool HasData() const noexcept;

  // {"antispam": ..., "antivirus": ..., "transport": ...}, each group only
  // when its count is not zero.
  void Write(Json::Value& stats) const;
  void Reset();

 private:
  Statistics stats_;
};

// A name kept as the table's own text; null has no JSON form.
struct TableNameCodec : EnterpriseIntegration::JsonCodec {
  constexpr explicit TableNameCodec(EnterpriseIntegration::NameTableView names) : table(names) {}
  bool Save(const char* name, Json::Value& out) const;
  void Describe(EnterpriseIntegration::SchemaDirection direction, Json::Value& out) const;
  EnterpriseIntegration::NameTableView table;
};

using StatsCountersCodec =
    EnterpriseIntegration::MapCodec<StatsCounters, EnterpriseIntegration::IntegerCodec<uint64_t>>;
using StatsByAddressCodec = EnterpriseIntegration::MapCodec<StatsByAddress, StatsCountersCodec>;
using StatsThreatsCodec =
    EnterpriseIntegration::MapCodec<std::unordered_map<std::string, StatsThreat>,
                                    EnterpriseIntegration::StructCodec<StatsThreat>>;
using StatsByFilterCodec =
    EnterpriseIntegration::MapCodec<std::map<std::string, StatsCounters>, StatsCountersCodec>;
using StatsByTrafficCodec =
    EnterpriseIntegration::MapCodec<std::unordered_map<std::string, StatsTraffic>,
                                    EnterpriseIntegration::StructCodec<StatsTraffic>>;

bool AntispamCounted(const Statistics& stats) noexcept;
bool AntivirusCounted(const Statistics& stats) noexcept;
bool TransportCounted(const Statistics& stats) noexcept;

}  // namespace Reporting

namespace EnterpriseIntegration {

// clang-format off
template <>
struct JsonSchema<Reporting::StatsInterval> : JsonSchemaBase<Reporting::StatsInterval> {
  using S = Reporting::StatsInterval;
  static constexpr auto kFields = Fields(
      Required("first", &S::first),
      Required("last",  &S::last));
};

template <>
struct JsonSchema<Reporting::StatsThreat> : JsonSchemaBase<Reporting::StatsThreat> {
  using S = Reporting::StatsThreat;
  static constexpr auto kFields = Fields(
      Optional("type",      &S::type,
          Reporting::TableNameCodec(Reporting::kThreatTypeNames.view())),
      Required("byAddress", &S::byAddress, Reporting::StatsByAddressCodec()));
};

template <>
struct JsonSchema<Reporting::StatsTraffic> : JsonSchemaBase<Reporting::StatsTraffic> {
  using S = Reporting::StatsTraffic;
  static constexpr auto kFields = Fields(
      Required("total",    &S::total),
      Required("byFilter", &S::byFilter, Reporting::StatsByFilterCodec()));
};

template <>
struct JsonSchema<Reporting::AntispamStats> : JsonSchemaBase<Reporting::AntispamStats> {
  using S = Reporting::AntispamStats;
  static constexpr auto kFields = Fields(
      Required("interval", &S::interval),
      Required("sentTo",   &S::sentTo, Reporting::StatsByAddressCodec()));
};

template <>
struct JsonSchema<Reporting::AntivirusStats> : JsonSchemaBase<Reporting::AntivirusStats> {
  using S = Reporting::AntivirusStats;
  static constexpr auto kFields = Fields(
      Required("interval", &S::interval),
      Required("sentTo",   &S::sentTo, Reporting::StatsThreatsCodec()),
      Required("sentBy",   &S::sentBy, Reporting::StatsThreatsCodec()));
};

template <>
struct JsonSchema<Reporting::TransportStats> : JsonSchemaBase<Reporting::TransportStats> {
  using S = Reporting::TransportStats;
  static constexpr auto kFields = Fields(
      Required("interval",  &S::interval),
      Required("byTraffic", &S::byTraffic, Reporting::StatsByTrafficCodec()));
};

template <>
struct JsonSchema<Reporting::Statistics> : JsonSchemaBase<Reporting::Statistics> {
  using S = Reporting::Statistics;
  static constexpr auto kFields = Fields(
      Optional("antispam",  &S::antispam,  When(&Reporting::AntispamCounted)),
      Optional("antivirus", &S::antivirus, When(&Reporting::AntivirusCounted)),
      Optional("transport", &S::transport, When(&Reporting::TransportCounted)));
};
// clang-format on

}  // namespace EnterpriseIntegration
