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

// Not synchronised: its owner holds the statistics lock around every call.
class StatisticsStore {
 public:
  void Fold(const Tally& tally, int64_t nowUnixSeconds);

  // The four "has data" counts: messages folded into each part since the
  // last reset.
  uint64_t antispamCount() const noexcept { return antispam_.count; }
  uint64_t antivirusRecipientsCount() const noexcept { return antivirus_.recipients; }
  uint64_t antivirusSendersCount() const noexcept { return antivirus_.senders; }
  uint64_t transportCount() const noexcept { return transport_.count; }
  bool HasData() const noexcept;

  // {"antispam": ..., "antivirus": ..., "transport": ...}, each group only
  // when its count is not zero.
  void Write(Json::Value& stats) const;
  void Reset();

 private:
  using Counters = std::map<std::string, uint64_t>;
  using ByAddress = std::unordered_map<std::string, Counters>;
  struct Interval {
    int64_t first = 0;
    int64_t last = 0;
    void Touch(int64_t now) noexcept;
  };
  struct Threat {
    const char* type = nullptr;
    ByAddress byAddress;
  };
  struct Traffic {
    uint64_t total = 0;
    std::map<std::string, Counters> byFilter;
  };

  struct {
    Interval interval;
    uint64_t count = 0;
    ByAddress sentTo;
  } antispam_;
  struct {
    Interval interval;
    uint64_t recipients = 0;
    uint64_t senders = 0;
    std::unordered_map<std::string, Threat> sentTo;
    std::unordered_map<std::string, Threat> sentBy;
  } antivirus_;
  struct {
    Interval interval;
    uint64_t count = 0;
    std::unordered_map<std::string, Traffic> byTraffic;
  } transport_;
};

}  // namespace Reporting
