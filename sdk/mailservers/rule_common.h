#pragma once
// What every transport filter rule shares in the plug-ins' records: the rule
// header with its scope conditions, the main action, and the notification
// data of the secondary actions. The numbering of actions is per filter and
// deliberately not shared; each filter's header declares its own.
#include <cstdint>

#include "frame/list.h"
#include "frame/string.h"

namespace kel::nusdk::MailServers {

// Mail directions, a flag set.
enum Traffic : uint32_t {
  kTrafficIncoming = 1,
  kTrafficOutgoing = 2,
  kTrafficInternal = 4,
  kTrafficAll = 7,
};

// Which address of a message a condition tests, a flag set.
enum AddressForm : uint32_t {
  kAddressConnection = 1,
  kAddressEmail = 2,
};

// A restriction on the sender or the recipients. `consider` 0 means that the
// rule sets no such restriction.
struct Condition {
  uint32_t consider = 0;
  kel::List<kel::StringW> users;  // identities or addresses
  kel::List<kel::StringW> groups;
  kel::List<kel::StringW> wildcards;
  kel::List<kel::StringW> domains;
};

struct Scope {
  uint32_t traffic = kTrafficAll;
  Condition sentBy;
  Condition sentTo;
};

struct RuleHeader {
  uint8_t enabled = 1;
  kel::StringW name;
  kel::StringW description;
  uint8_t detectionWithoutScan = 0;
  Scope scope;
  uint8_t stopProcessing = 0;
};

// Who is told of a detection by a notification action.
struct NotifyData {
  uint8_t sender = 1;
  uint8_t receivers = 1;
};

// The main action of a rule: the action code (per filter) and, for the actions
// that need one, its argument (redirect address, replacement text).
struct MainAction {
  uint32_t action = 0;
  kel::StringW data;
};

}  // namespace kel::nusdk::MailServers
