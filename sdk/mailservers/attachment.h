#pragma once
// The attachment-filtering plug-in: rules that pick attachments by size,
// file-name pattern or file category and act on the message that carries
// them. Its rule set is set and read through the transport agent.
#include <cstdint>

#include "frame/list.h"
#include "frame/string.h"
#include "sdk/kel_base_interface.h"
#include "sdk/mailservers/rule_common.h"

namespace kel::nusdk::MailServers::Attachment {

// 87bac8a7-2c56-41bf-93c5-546f346a6e26, this module's SDK's identifier.
constexpr kel::InterfaceId IID_IAttachment{0x41bf2c5687bac8a7ull, 0x266e6a346f54c593ull};

inline constexpr wchar_t kComponentName[] = L"MailServers.Attachment";

// The attachment filter's own main-action numbering: the two attachment
// actions sit at 1 and 2, so the common redirect, quarantine and deliver
// actions move up to 3, 4 and 5.
enum MainActionType : uint32_t {
  kRejectOrDeleteEmail = 0,
  kDeleteAttachment = 1,
  kReplaceAttachment = 2,  // data: the replacement text, never empty
  kRedirectEmail = 3,      // data: the target address, never empty
  kQuarantineEmail = 4,
  kDeliverEmail = 5,
};

// How a built-in file category is recognised.
enum KnownMatchMode : uint32_t {
  kKnownByExtension = 0,
  kKnownByContent = 1,
};

// How the user-defined category is recognised; it alone can go by related
// extensions, which shifts "by content" to 2.
enum CustomMatchMode : uint32_t {
  kCustomByExtension = 0,
  kCustomByRelatedExtensions = 1,
  kCustomByContent = 2,
};

struct RuleSet {
  struct ScanningRule {
    struct ScanSettings {
      struct Size {
        uint32_t greaterThan = 0;
        uint32_t lowerThan = 0;
      };
      struct Patterns {
        kel::List<kel::StringW> match;
      };
      struct Categories {
        struct Known {
          kel::List<kel::StringW> match;  // names of built-in categories
          KnownMatchMode matchMode = kKnownByExtension;
        };
        struct Custom {
          kel::List<kel::StringW> extensions;
          CustomMatchMode matchMode = kCustomByExtension;
        };

        Known known;
        Custom custom;
        uint8_t invertMatch = 0;  // match what lies outside the categories
      };

      Size size;
      Patterns patterns;
      Categories categories;
      uint8_t scanInArchives = 0;
      uint32_t maxArchiveDepth = 0;
    };

    struct OnDetection {
      // `action` is a MainActionType; `data` its argument. A type of its own:
      // the numbering and the "data" key differ from the common main action.
      struct MainAction : kel::nusdk::MailServers::MainAction {};

      struct SecondaryAction {
        enum Action : uint32_t {
          kTagSubject = 0,
          kAddHeader = 1,
          kSaveToFolder = 2,
          kBccTo = 3,
          kForwardEmail = 4,
          kNotifyInternalRecipients = 5,
          kNotifyRecipients = 6,
        };
        // The kinds of argument an action carries.
        enum DataKind : uint32_t {
          kText = 0,            // tagSubject, addHeader, saveToFolder, bccTo
          kForwardAddress = 1,  // forwardEmail
          kNotification = 2,    // notifyInternalRecipients
          kRecipientList = 3,   // notifyRecipients
        };
        // The argument, tagged with its kind; only the member of that kind
        // holds anything.
        struct Data {
          DataKind kind = kText;
          kel::StringW text;
          kel::StringW forwardTo;
          NotifyData notify;
          kel::List<kel::StringW> recipients;
        };

        Action action = kTagSubject;
        Data data;
        kel::StringW extraData;
      };

      MainAction mainAction;
      kel::List<SecondaryAction> secondaryActions;
    };

    ScanSettings scanSettings;
    OnDetection onDetection;
  };

  // One rule: the header every filter shares, then what this filter adds.
  struct Rule : RuleHeader, ScanningRule {};

  uint8_t enabled = 0;
  kel::List<Rule> rules;  // in evaluation order
};

// The kind of argument `action` takes.
constexpr RuleSet::ScanningRule::OnDetection::SecondaryAction::DataKind DataKindOf(
    RuleSet::ScanningRule::OnDetection::SecondaryAction::Action action) {
  using A = RuleSet::ScanningRule::OnDetection::SecondaryAction;
  switch (action) {
    case A::kForwardEmail:
      return A::kForwardAddress;
    case A::kNotifyInternalRecipients:
      return A::kNotification;
    case A::kNotifyRecipients:
      return A::kRecipientList;
    default:
      return A::kText;
  }
}

class IAttachment : public IKelBaseInterface {
 public:
  virtual uint32_t SetRules(const RuleSet& rules) = 0;  // slot 1
  virtual uint32_t GetRules(RuleSet& rules) = 0;        // slot 2

 protected:
  ~IAttachment() = default;
};

}  // namespace kel::nusdk::MailServers::Attachment
