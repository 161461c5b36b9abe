#pragma once
// The mail-server antispam plug-in: its rule set (the transport agent sets
// and reads it) and its real-time blackhole list (RBL) settings (the antispam
// agent's own policy methods).
#include <cstdint>

#include "frame/list.h"
#include "frame/string.h"
#include "sdk/kel_base_interface.h"
#include "sdk/mailservers/rule_common.h"

namespace kel::nusdk::MailServers::Antispam {

// 9646858a-0d1a-ce92-8d4a-fd7d0000b454
constexpr kel::InterfaceId IID_IAntispam{0xce920d1a9646858aull, 0x54b400007dfd4a8dull};

inline constexpr wchar_t kComponentName[] = L"MailServers.Antispam";

// Main actions: the common numbering of rule_common.h's MainAction.
enum MainActionType : uint32_t {
  kRejectOrDeleteEmail = 0,
  kRedirectEmail = 1,  // MainAction::data holds the target address
  kQuarantineEmail = 2,
  kDeliverEmail = 3,
};

// Secondary actions, numbered for this filter.
enum SecondaryActionType : uint32_t {
  kTagSubject = 0,                // data: the tag; extraData: optional
  kAddHeader = 1,                 // data: header name; extraData: its value
  kSaveToFolder = 2,              // data: the folder
  kBccTo = 3,                     // data: the address
  kAddSCLHeader = 4,              // nothing
  kNotifyInternalRecipients = 5,  // notify
  kNotifyRecipients = 6,          // recipients
};

// Which members hold something depends on the action (see SecondaryActionType).
struct SecondaryAction {
  SecondaryActionType action = kTagSubject;
  kel::StringW data;
  kel::StringW extraData;
  NotifyData notify;
  kel::List<kel::StringW> recipients;
};

struct MultiFilter {
  uint8_t enabled = 0;
  uint8_t detectAsian = 0;
  uint8_t detectCyrillic = 0;
  uint8_t detectSexuallyExplicit = 0;
};

struct ScanSettings {
  uint32_t aggressivity = 0;  // the plug-in's own scale
  uint8_t checkAuthenticated = 0;
  uint8_t useCloudQueries = 0;
  MultiFilter multiFilter;
  uint8_t useURLFilter = 0;
  uint8_t useRBLFilter = 0;
  uint8_t useHeuristicFilter = 0;
  uint8_t useWhiteBlackLists = 0;
  kel::List<kel::StringW> whiteList;
  kel::List<kel::StringW> blackList;
};

struct OnDetection {
  MainAction mainAction;
  kel::List<SecondaryAction> secondaryActions;
};

struct RuleSet {
  struct Rule : RuleHeader {
    ScanSettings scanSettings;
    OnDetection onDetection;
  };

  uint8_t enabled = 0;
  kel::List<Rule> rules;  // in evaluation order
};

inline constexpr uint32_t kDefaultDnsTimeout = 500;

class IAntispam : public IKelBaseInterface {
 public:
  struct RBLSettings {
    struct RBLServer {
      kel::StringW address;
      uint32_t confidence = 0;
    };

    uint32_t dnsTimeout = kDefaultDnsTimeout;
    uint8_t skipSystemServers = 0;  // ask only dnsAddress, not the system's DNS servers
    kel::StringW dnsAddress;
    kel::List<RBLServer> servers;
  };

  // The RBL pair sits at slots 2 and 3; the rule-set pair brackets it, the
  // setter before the getter.
  virtual uint32_t SetRules(const RuleSet& rules) = 0;               // slot 1
  virtual uint32_t SetRBLSettings(const RBLSettings& settings) = 0;  // slot 2
  virtual uint32_t GetRBLSettings(RBLSettings& settings) = 0;        // slot 3
  virtual uint32_t GetRules(RuleSet& rules) = 0;                     // slot 4

 protected:
  ~IAntispam() = default;
};

}  // namespace kel::nusdk::MailServers::Antispam
