#pragma once
// The mail-server antivirus plug-in: the footer stamped on scanned mail per
// direction, the texts that stand in for removed content, the antivirus
// rule set of transport scanning (set and read by the transport agent) and
// the rule set of each on-demand scan task (set and read by the on-demand
// agent).
#include <cstdint>

#include "frame/guid.h"
#include "frame/list.h"
#include "frame/string.h"
#include "sdk/kel_base_interface.h"
#include "sdk/mailservers/rule_common.h"

namespace kel::nusdk::MailServers {

// What the plug-in does with an infected, suspect or unscannable item. The
// codes are the plug-in's own encoding, gaps and high bytes included: they
// are passed as they are, never renumbered.
struct IAntivirusFilterRule {
  enum Action : uint32_t {
    kIgnoreFile = 1,
    kDisinfect = 3,
    kDeleteFile = 5,
    kQuarantineFile = 7,
    kDisinfectFile = 10,
    kQuarantineEmail = 0x302,
    kRedirectEmail = 0x402,  // needs the rule's redirectEmailTo
    kReplaceFile = 0x505,
    kRejectOrDeleteEmail = 0x602,
  };
};

namespace Antivirus {

// 8c2d8c16-4c0f-4faa-b8bd-c0c5581f3dd5, this module's SDK's identifier.
constexpr kel::InterfaceId IID_IAntivirus{0x4faa4c0f8c2d8c16ull, 0xd53d1f58c5c0bdb8ull};

inline constexpr wchar_t kComponentName[] = L"MailServers.Antivirus";

// The texts that replace a removed item, five strings in this order; the
// pairs keep the record flat in memory.
struct ReplacementTexts {
  struct Pair {
    kel::StringW replaced;
    kel::StringW quarantined;
  };

  Pair scanned;                  // the item was scanned and found bad
  Pair unscannable;              // the item could not be scanned
  kel::StringW moreInformation;  // appended to every replacement
};

// Which files a rule scans.
enum ExtensionMode : uint32_t {
  kAllFiles = 0,
  kExecutables = 1,
  kSpecificExtensions = 2,  // only the listed extensions
  kAllExceptSpecific = 3,   // everything but the listed extensions
};

// Antivirus secondary actions, numbered for this filter alone: only the two
// notifications, both carrying who is told.
enum SecondaryActionType : uint32_t {
  kNotifyInternalRecipients = 0,
  kNotifyRecipients = 1,
};

// The plug-in's unlimited archive depth.
inline constexpr int32_t kUnlimitedArchiveDepth = 16;

struct RuleSet {
  struct ScanSettings {
    struct Extensions {
      ExtensionMode mode = kAllFiles;
      kel::List<kel::StringW> specific;
    };
    struct ThreatTypes {
      uint8_t spyware = 1;
      uint8_t adware = 1;
      uint8_t dialers = 1;
      uint8_t keyloggers = 1;
      uint8_t pua = 1;  // potentially unwanted applications
    };

    uint32_t maxFileSize = 0;
    int32_t maxArchiveDepth = kUnlimitedArchiveDepth;
    Extensions extensions;
    ThreatTypes threatTypes;
  };

  struct OnDetection {
    // Ordered lists: the plug-in tries each action in turn.
    struct Actions {
      kel::List<IAntivirusFilterRule::Action> infected;
      kel::List<IAntivirusFilterRule::Action> suspect;
      kel::List<IAntivirusFilterRule::Action> unscannable;
    };
    struct SecondaryAction {
      SecondaryActionType action = kNotifyInternalRecipients;
      NotifyData data;
    };

    Actions actions;
    kel::List<SecondaryAction> secondaryActions;
    ReplacementTexts replacementTexts;
    kel::StringW redirectEmailTo;  // the target of IAntivirusFilterRule::kRedirectEmail
  };

  // One rule: the header every filter shares, then what this filter adds.
  struct Rule : RuleHeader {
    ScanSettings scanSettings;
    OnDetection onDetection;
  };

  uint8_t enabled = 0;
  kel::List<Rule> rules;  // in evaluation order
};

// The rule set of transport scanning is the plain one.
using TransportRuleSet = RuleSet;

// Footer operations take traffic directions (rule_common.h): a setter a mask
// of any of them, a getter exactly one.
class IAntivirus : public IKelBaseInterface {
 public:
  virtual uint32_t SetFooterEnabled(uint32_t directions, uint8_t enabled) = 0;      // slot 1
  virtual uint32_t IsFooterEnabled(uint32_t direction, uint8_t& enabled) = 0;       // slot 2
  virtual uint32_t SetFooter(uint32_t directions, const kel::StringW& footer) = 0;  // slot 3
  virtual uint32_t GetFooter(uint32_t direction, kel::StringW& footer) = 0;         // slot 4
  virtual uint32_t SetReplacementTexts(const ReplacementTexts& texts) = 0;          // slot 5
  virtual uint32_t GetReplacementTexts(ReplacementTexts& texts) = 0;                // slot 6
  // The rule-set pair follows the footer and text operations.
  virtual uint32_t SetRules(const TransportRuleSet& rules) = 0;  // slot 7
  virtual uint32_t GetRules(TransportRuleSet& rules) = 0;        // slot 8
  // The rules of one on-demand task, in the same format. A task without rules
  // of its own answers an empty set, switched off.
  virtual uint32_t SetTaskRules(const kel::Guid& taskId, const RuleSet& rules) = 0;  // slot 9
  virtual uint32_t GetTaskRules(const kel::Guid& taskId, RuleSet& rules) = 0;        // slot 10

 protected:
  ~IAntivirus() = default;
};

}  // namespace Antivirus
}  // namespace kel::nusdk::MailServers
