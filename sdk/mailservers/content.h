#pragma once
// The content-filtering plug-in: words, phrases or regular expressions looked
// for in the subject and body of mail, and what to do with a message that
// matches. Its rule set is set and read through the transport agent.
#include <cstdint>

#include "frame/list.h"
#include "frame/string.h"
#include "sdk/kel_base_interface.h"
#include "sdk/mailservers/rule_common.h"

namespace kel::nusdk::MailServers {

// The content filter numbers its secondary actions on its own: there is no
// SCL header action, so the two notifications sit at 4 and 5, not at 5 and 6
// as in the antispam numbering.
struct IContentFilterRule {
  struct SecondaryAction {
    enum Action : uint32_t {
      kTagSubject = 0,                // data: the tag
      kAddHeader = 1,                 // data: the header
      kSaveToFolder = 2,              // data: the folder
      kBccTo = 3,                     // data: the address
      kNotifyInternalRecipients = 4,  // notify
      kNotifyRecipients = 5,          // recipients
    };
  };
};

namespace Content {

// 1110ba1a-6a54-4586-982b-dc7ee549cd75, this module's SDK's identifier.
constexpr kel::InterfaceId IID_IContent{0x45866a541110ba1aull, 0x75cd49e57edc2b98ull};

inline constexpr wchar_t kComponentName[] = L"MailServers.Content";

struct RuleSet {
  struct ScanningRule {
    struct ScanSettings {
      // How the entries of "find" are matched.
      enum Engine : uint32_t {
        kEngineText = 0,
        kEngineRegexp = 1,
      };

      struct Match {
        kel::List<kel::StringW> find;  // words, phrases or expressions
        uint8_t wholeWord = 0;
        uint8_t ignoreCase = 0;
        Engine engine = kEngineText;
      };

      // What is looked for in one part of a message.
      struct MessagePart {
        kel::List<Match> match;
      };

      MessagePart subject;
      MessagePart body;
    };

    struct OnDetection {
      // The common main action numbering; `data` holds the redirect address.
      // A type of its own, because its JSON form carries the address in
      // "data" where other filters use "address".
      struct MainAction : kel::nusdk::MailServers::MainAction {};

      // Which of `data`, `notify` and `recipients` holds something follows
      // from the action.
      struct SecondaryAction {
        IContentFilterRule::SecondaryAction::Action action =
            IContentFilterRule::SecondaryAction::kTagSubject;
        kel::StringW data;  // tag, header, folder or address
        NotifyData notify;
        kel::List<kel::StringW> recipients;
        kel::StringW extraData;
      };

      MainAction mainAction;
      kel::List<SecondaryAction> secondaryActions;  // in order
    };

    ScanSettings scanSettings;
    OnDetection onDetection;
  };

  // One rule: the header every filter shares, then what this filter adds.
  struct Rule : RuleHeader, ScanningRule {};

  uint8_t enabled = 0;
  kel::List<Rule> rules;  // in evaluation order
};

class IContent : public IKelBaseInterface {
 public:
  virtual uint32_t SetRules(const RuleSet& rules) = 0;  // slot 1
  virtual uint32_t GetRules(RuleSet& rules) = 0;        // slot 2

 protected:
  ~IContent() = default;
};

}  // namespace Content
}  // namespace kel::nusdk::MailServers
