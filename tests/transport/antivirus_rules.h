#pragma once
// Test helpers for the antivirus rule set: a field-by-field description of
// its records (without the schemas), and a seeded generator of valid rules.
#include <string>

#include "sdk/mailservers/antivirus.h"
#include "tests/transport/rule_describe.h"

namespace rule_test {

inline std::string Text(const kel::List<kel::nusdk::MailServers::IAntivirusFilterRule::Action>& l) {
  std::string out = "[";
  for (auto action : l) out += std::to_string(static_cast<uint32_t>(action)) + ",";
  return out + "]";
}

inline std::string Text(const kel::nusdk::MailServers::Antivirus::ReplacementTexts& t) {
  return "{scanned " + Text(t.scanned.replaced) + " " + Text(t.scanned.quarantined) +
         " unscannable " + Text(t.unscannable.replaced) + " " + Text(t.unscannable.quarantined) +
         " moreInformation " + Text(t.moreInformation) + "}";
}

inline std::string Text(const kel::nusdk::MailServers::Antivirus::RuleSet::Rule& r) {
  const auto& s = r.scanSettings;
  const auto& t = s.threatTypes;
  const auto& d = r.onDetection;
  std::string out = Text(static_cast<const kel::nusdk::MailServers::RuleHeader&>(r));
  out += " maxFileSize " + std::to_string(s.maxFileSize) + " maxArchiveDepth " +
         std::to_string(s.maxArchiveDepth) + " mode " + std::to_string(s.extensions.mode) +
         " specific " + Text(s.extensions.specific) + " threats " + std::to_string(t.spyware) +
         std::to_string(t.adware) + std::to_string(t.dialers) + std::to_string(t.keyloggers) +
         std::to_string(t.pua);
  out += " infected " + Text(d.actions.infected) + " suspect " + Text(d.actions.suspect) +
         " unscannable " + Text(d.actions.unscannable) + " secondary [";
  for (const auto& a : d.secondaryActions) {
    out += "{" + std::to_string(a.action) + " " + Text(a.data) + "}";
  }
  out += "] texts " + Text(d.replacementTexts) + " redirectEmailTo " + Text(d.redirectEmailTo);
  return out;
}

inline std::string Text(const kel::nusdk::MailServers::Antivirus::RuleSet& set) {
  std::string out = "enabled " + std::to_string(set.enabled) + "\n";
  for (const auto& rule : set.rules) out += Text(rule) + "\n";
  return out;
}

// A valid antivirus rule: anything it makes saves and loads back unchanged.
inline kel::nusdk::MailServers::Antivirus::RuleSet::Rule AntivirusRule(Generator& g) {
  using kel::nusdk::MailServers::IAntivirusFilterRule;
  namespace av = kel::nusdk::MailServers::Antivirus;
  static const IAntivirusFilterRule::Action kActions[] = {
      IAntivirusFilterRule::kIgnoreFile,         IAntivirusFilterRule::kDisinfect,
      IAntivirusFilterRule::kDeleteFile,         IAntivirusFilterRule::kQuarantineFile,
      IAntivirusFilterRule::kDisinfectFile,      IAntivirusFilterRule::kQuarantineEmail,
      IAntivirusFilterRule::kRedirectEmail,      IAntivirusFilterRule::kReplaceFile,
      IAntivirusFilterRule::kRejectOrDeleteEmail};

  av::RuleSet::Rule rule;
  g.Header(rule);
  av::RuleSet::ScanSettings& s = rule.scanSettings;
  s.maxFileSize = g.Any32();
  // 16 is unlimited; -1 is not a plug-in depth (it would come back as 16).
  s.maxArchiveDepth = g.Coin() ? av::kUnlimitedArchiveDepth : static_cast<int32_t>(g.Below(40));
  s.extensions.mode = static_cast<av::ExtensionMode>(g.Below(4));
  s.extensions.specific = g.Strings();
  s.threatTypes = {g.Flag(), g.Flag(), g.Flag(), g.Flag(), g.Flag()};

  av::RuleSet::OnDetection& d = rule.onDetection;
  d.redirectEmailTo = g.String();
  for (auto* list : {&d.actions.infected, &d.actions.suspect, &d.actions.unscannable}) {
    const uint32_t count = g.Below(4);
    for (uint32_t i = 0; i < count; ++i) {
      IAntivirusFilterRule::Action action = kActions[g.Below(9)];
      // Without a target only the unscannable list may redirect.
      if (action == IAntivirusFilterRule::kRedirectEmail && d.redirectEmailTo.IsEmpty() &&
          list != &d.actions.unscannable) {
        action = IAntivirusFilterRule::kReplaceFile;
      }
      list->EmplaceBack(action);
    }
  }
  const uint32_t secondary = g.Below(3);
  for (uint32_t i = 0; i < secondary; ++i) {
    av::RuleSet::OnDetection::SecondaryAction& a = d.secondaryActions.EmplaceBack();
    a.action = static_cast<av::SecondaryActionType>(g.Below(2));
    a.data = {g.Flag(), g.Flag()};
  }
  d.replacementTexts = {{g.String(), g.String()}, {g.String(), g.String()}, g.String()};
  return rule;
}

}  // namespace rule_test
