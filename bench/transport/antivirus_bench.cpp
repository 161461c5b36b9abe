// The antivirus rule set: every rule with its scope conditions, scan settings,
// three action lists, notifications and replacement texts filled in.
#include <string>

#include "bench/transport/rule_set_bench.h"
#include "transport/antivirus/antivirus_schema.h"

namespace {

namespace av = kel::nusdk::MailServers::Antivirus;
using kel::nusdk::MailServers::Condition;
using kel::nusdk::MailServers::IAntivirusFilterRule;

kel::StringW Text(const std::wstring& text) { return kel::StringW(text); }

Condition MakeCondition(const std::wstring& who, int i) {
  Condition condition;
  condition.consider = 1 + static_cast<uint32_t>(i % 3);
  for (int j = 0; j < 3; ++j)
    condition.users.EmplaceBack(Text(who + std::to_wstring(j) + L"@example.com"));
  condition.groups.EmplaceBack(Text(L"CN=Group " + std::to_wstring(i) + L",DC=example,DC=com"));
  condition.groups.EmplaceBack(Text(L"CN=Finance,DC=example,DC=com"));
  condition.wildcards.EmplaceBack(Text(L"*." + who + L"@example.com"));
  condition.domains.EmplaceBack(Text(L"example.com"));
  condition.domains.EmplaceBack(Text(L"caf\u00e9.example.org"));
  return condition;
}

av::RuleSet MakeAntivirusRuleSet(int count) {
  av::RuleSet set;
  set.enabled = 1;
  for (int i = 0; i < count; ++i) {
    av::RuleSet::Rule& rule = set.rules.EmplaceBack();
    const std::wstring n = std::to_wstring(i);
    rule.name = Text(L"Antivirus rule " + n);
    rule.description = Text(L"Scans what rule " + n + L" was written for, caf\u00e9");
    rule.detectionWithoutScan = static_cast<uint8_t>(i % 2);
    rule.scope.traffic = 1 + static_cast<uint32_t>(i % 7);
    rule.scope.sentBy = MakeCondition(L"sender", i);
    rule.scope.sentTo = MakeCondition(L"recipient", i);
    rule.stopProcessing = static_cast<uint8_t>(i % 3 == 0);

    av::RuleSet::ScanSettings& scan = rule.scanSettings;
    scan.maxFileSize = 1000000u + static_cast<uint32_t>(i);
    scan.maxArchiveDepth = i % 2 ? av::kUnlimitedArchiveDepth : i % 10;
    scan.extensions.mode = static_cast<av::ExtensionMode>(i % 4);
    for (const wchar_t* extension : {L"exe", L"scr", L"js", L"docm"}) {
      scan.extensions.specific.EmplaceBack(Text(extension));
    }
    scan.threatTypes.adware = static_cast<uint8_t>(i % 2);

    av::RuleSet::OnDetection& detection = rule.onDetection;
    detection.actions.infected.EmplaceBack(IAntivirusFilterRule::kDisinfect);
    detection.actions.infected.EmplaceBack(IAntivirusFilterRule::kQuarantineEmail);
    detection.actions.infected.EmplaceBack(IAntivirusFilterRule::kRedirectEmail);
    detection.actions.suspect.EmplaceBack(IAntivirusFilterRule::kQuarantineFile);
    detection.actions.suspect.EmplaceBack(IAntivirusFilterRule::kRejectOrDeleteEmail);
    detection.actions.unscannable.EmplaceBack(IAntivirusFilterRule::kReplaceFile);
    detection.secondaryActions.EmplaceBack().action = av::kNotifyInternalRecipients;
    av::RuleSet::OnDetection::SecondaryAction& notify = detection.secondaryActions.EmplaceBack();
    notify.action = av::kNotifyRecipients;
    notify.data.receivers = 0;
    detection.replacementTexts.scanned = {Text(L"Removed: infected (" + n + L")"),
                                          Text(L"Quarantined: infected")};
    detection.replacementTexts.unscannable = {Text(L"Removed: not scannable"),
                                              Text(L"Quarantined: not scannable")};
    detection.replacementTexts.moreInformation = Text(L"Ask helpdesk@example.com");
    detection.redirectEmailTo = Text(L"quarantine" + n + L"@example.com");
  }
  return set;
}

const bool kRegistered =
    bench_transport::RegisterRuleSet<av::TransportRuleSet>("antivirus", &MakeAntivirusRuleSet);

}  // namespace
