// The content rule set: every rule with a sender condition, matches in the
// subject and the body (text and regular expressions), a main action and
// secondary actions with their data.
#include <string>

#include "bench/transport/rule_set_bench.h"
#include "transport/content/content_schema.h"

namespace {

using RuleSet = kel::nusdk::MailServers::Content::RuleSet;
using ScanSettings = RuleSet::ScanningRule::ScanSettings;
using Action = kel::nusdk::MailServers::IContentFilterRule::SecondaryAction;

kel::StringW Text(const std::wstring& text) { return kel::StringW(text); }

RuleSet MakeContentRuleSet(int count) {
  RuleSet set;
  set.enabled = 1;
  for (int i = 0; i < count; ++i) {
    RuleSet::Rule& rule = set.rules.EmplaceBack();
    const std::wstring n = std::to_wstring(i);
    rule.name = Text(L"Content rule " + n);
    rule.description = Text(L"Looks for what rule " + n + L" was written for, caf\u00e9");
    rule.scope.traffic = 1 + static_cast<uint32_t>(i % 7);
    rule.scope.sentBy.consider = 2;
    rule.scope.sentBy.users.EmplaceBack(Text(L"user" + n + L"@example.com"));
    rule.scope.sentBy.domains.EmplaceBack(L"example.com");
    rule.stopProcessing = static_cast<uint8_t>(i % 3 == 0);
    for (int j = 0; j < 2; ++j) {
      ScanSettings::Match& subject = rule.scanSettings.subject.match.EmplaceBack();
      subject.find.EmplaceBack(Text(L"offer " + std::to_wstring(j)));
      subject.find.EmplaceBack(L"free");
      subject.ignoreCase = 1;
      ScanSettings::Match& body = rule.scanSettings.body.match.EmplaceBack();
      body.find.EmplaceBack(Text(L"pr[i1]ze\\s+" + n));
      body.engine = ScanSettings::kEngineRegexp;
      body.wholeWord = static_cast<uint8_t>(j);
    }
    rule.onDetection.mainAction.action = static_cast<uint32_t>(i % 4);
    rule.onDetection.mainAction.data = L"review@example.com";
    auto& tag = rule.onDetection.secondaryActions.EmplaceBack();
    tag.action = Action::kTagSubject;
    tag.data = L"[content]";
    auto& header = rule.onDetection.secondaryActions.EmplaceBack();
    header.action = Action::kAddHeader;
    header.data = L"X-Content-Rule";
    header.extraData = Text(n);
    auto& notify = rule.onDetection.secondaryActions.EmplaceBack();
    notify.action = Action::kNotifyInternalRecipients;
    notify.notify.receivers = 0;
    auto& recipients = rule.onDetection.secondaryActions.EmplaceBack();
    recipients.action = Action::kNotifyRecipients;
    recipients.recipients.EmplaceBack(L"postmaster@example.com");
  }
  return set;
}

const bool kRegistered = bench_transport::RegisterRuleSet<RuleSet>("content", &MakeContentRuleSet);

}  // namespace
