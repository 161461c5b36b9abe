#pragma once
// Test helpers for the attachment rule set: a field-by-field description of
// its records (without the schemas), and a seeded generator of valid rules.
#include <string>

#include "sdk/mailservers/attachment.h"
#include "tests/transport/rule_describe.h"

namespace rule_test {

inline std::string Text(const kel::nusdk::MailServers::Attachment::RuleSet::Rule& r) {
  using kel::nusdk::MailServers::Attachment::RuleSet;
  const RuleSet::ScanningRule::ScanSettings& s = r.scanSettings;
  const RuleSet::ScanningRule::OnDetection& d = r.onDetection;
  std::string out = Text(static_cast<const kel::nusdk::MailServers::RuleHeader&>(r));
  out += " size " + std::to_string(s.size.greaterThan) + ".." + std::to_string(s.size.lowerThan) +
         " patterns " + Text(s.patterns.match) + " known " + Text(s.categories.known.match) + " " +
         std::to_string(s.categories.known.matchMode) + " custom " +
         Text(s.categories.custom.extensions) + " " +
         std::to_string(s.categories.custom.matchMode) + " invert " +
         std::to_string(s.categories.invertMatch) + " archives " +
         std::to_string(s.scanInArchives) + " depth " + std::to_string(s.maxArchiveDepth);
  out += " main " + Text(d.mainAction) + " secondary [";
  for (const auto& a : d.secondaryActions) {
    out += "{" + std::to_string(a.action) + " kind " + std::to_string(a.data.kind) + " text " +
           Text(a.data.text) + " to " + Text(a.data.forwardTo) + " notify " + Text(a.data.notify) +
           " recipients " + Text(a.data.recipients) + " extra " + Text(a.extraData) + "}";
  }
  return out + "]";
}

inline std::string Text(const kel::nusdk::MailServers::Attachment::RuleSet& set) {
  std::string out = "enabled " + std::to_string(set.enabled) + "\n";
  for (const auto& rule : set.rules) out += Text(rule) + "\n";
  return out;
}

// A valid attachment rule: anything it makes saves and loads back unchanged.
// Only the member of the argument's kind is filled, as a load fills it.
inline kel::nusdk::MailServers::Attachment::RuleSet::Rule AttachmentRule(Generator& g) {
  namespace at = kel::nusdk::MailServers::Attachment;
  using SecondaryAction = at::RuleSet::ScanningRule::OnDetection::SecondaryAction;

  at::RuleSet::Rule rule;
  g.Header(rule);
  auto& s = rule.scanSettings;
  s.size = {g.Any32(), g.Any32()};
  s.patterns.match = g.Strings();
  s.categories.known.match = g.Strings();
  s.categories.known.matchMode = static_cast<at::KnownMatchMode>(g.Below(2));
  s.categories.custom.extensions = g.Strings();
  s.categories.custom.matchMode = static_cast<at::CustomMatchMode>(g.Below(3));
  s.categories.invertMatch = g.Flag();
  s.scanInArchives = g.Flag();
  s.maxArchiveDepth = g.Any32();

  auto& d = rule.onDetection;
  d.mainAction.action = g.Below(6);
  d.mainAction.data = g.String();
  if (d.mainAction.data.IsEmpty() && (d.mainAction.action == at::kReplaceAttachment ||
                                      d.mainAction.action == at::kRedirectEmail)) {
    d.mainAction.data = L"needed@x.example";
  }
  const uint32_t count = g.Below(4);
  for (uint32_t i = 0; i < count; ++i) {
    SecondaryAction& a = d.secondaryActions.EmplaceBack();
    a.action = static_cast<SecondaryAction::Action>(g.Below(7));
    a.data.kind = at::DataKindOf(a.action);
    switch (a.data.kind) {
      case SecondaryAction::kText:
        a.data.text = g.String();
        break;
      case SecondaryAction::kForwardAddress:
        a.data.forwardTo = g.String();
        break;
      case SecondaryAction::kNotification:
        a.data.notify = {g.Flag(), g.Flag()};
        break;
      case SecondaryAction::kRecipientList:
        a.data.recipients = g.Strings();
        break;
    }
    a.extraData = g.String();
  }
  return rule;
}

}  // namespace rule_test
