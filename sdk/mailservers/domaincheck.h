#pragma once
// The mail-server domain-check plug-in: does mail that claims a sender domain
// come from a server permitted to send for it. Its rule set is set and read
// through the transport agent.
#include <cstdint>

#include "frame/ipv4.h"
#include "frame/list.h"
#include "frame/string.h"
#include "sdk/kel_base_interface.h"
#include "sdk/mailservers/rule_common.h"

namespace kel::nusdk::MailServers {

// The rule parts of the domain-check plug-in that carry its own numbering.
struct IDomainCheckFilterRule {
  struct SecondaryAction {
    // No notification actions here, unlike the other filters.
    enum Action : uint32_t {
      kTagSubject = 0,    // data: the tag; extraData: optional
      kAddHeader = 1,     // data: header name; extraData: its value
      kSaveToFolder = 2,  // data: the folder; extraData: optional
      kBccTo = 3,         // data: the address; extraData: optional
    };

    Action action = kTagSubject;
    kel::StringW data;
    kel::StringW extraData;
  };
};

namespace DomainCheck {

// 3c5fa12b-4140-4eb4-b6ec-6591c60b8e38, this module's SDK's own identifier.
constexpr kel::InterfaceId IID_IDomainCheck{0x4eb441403c5fa12bull, 0x388e0bc69165ecb6ull};

inline constexpr wchar_t kComponentName[] = L"MailServers.DomainCheck";

using SecondaryAction = IDomainCheckFilterRule::SecondaryAction;

struct ScanSettings {
  // Servers allowed to send: an address, with a prefix length for a network.
  kel::List<kel::nusdk::Network::IPv4> permittedSenders;
  uint8_t checkAuthenticated = 0;
};

struct OnDetection {
  MainAction mainAction;  // the common numbering; data: redirect target
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

class IDomainCheck : public IKelBaseInterface {
 public:
  virtual uint32_t SetRules(const RuleSet& rules) = 0;  // slot 1
  virtual uint32_t GetRules(RuleSet& rules) = 0;        // slot 2

 protected:
  ~IDomainCheck() = default;
};

}  // namespace DomainCheck
}  // namespace kel::nusdk::MailServers
