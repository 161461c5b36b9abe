#pragma once
// Scan results as the plug-in would fill them, for the reporting tests and
// benchmarks, and a stand-in for the on-access plug-in that records its sinks.
#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "frame/result_codes.h"
#include "sdk/mailservers/mail_servers.h"

namespace reporting_test {

using kel::nusdk::MailServers::ItemScanInfo;

inline kel::List<kel::StringW> Texts(std::initializer_list<const wchar_t*> texts) {
  kel::List<kel::StringW> list;
  for (const wchar_t* text : texts) list.EmplaceBack(text);
  return list;
}

inline kel::List<int32_t> Codes(std::initializer_list<int32_t> codes) {
  kel::List<int32_t> list;
  for (int32_t code : codes) list.EmplaceBack(code);
  return list;
}

// An incoming message from one sender to two recipients that no filter matched.
inline ItemScanInfo TransportEmail() {
  ItemScanInfo item;
  item.traffic = 1;
  item.senderConnection = L"Alice@Example.test";
  item.senderEmail = L"alice@example.test";
  item.recipientConnections = Texts({L"bob@corp.test", L"carol@corp.test"});
  item.recipientEmails = Texts({L"bob@corp.test"});
  item.authenticated = true;
  item.subject = L"Quarterly report";
  item.sourceIp = L"192.0.2.7";
  item.messageId = L"<m1@example.test>";
  item.size = 5'000'000'000;
  return item;
}

inline ItemScanInfo::Antispam::RuleInfo SpamRule(const wchar_t* name, int32_t mainAction,
                                                 std::initializer_list<int32_t> secondary) {
  ItemScanInfo::Antispam::RuleInfo rule;
  rule.ruleName = name;
  rule.mainActionTaken = mainAction;
  rule.secondaryActionsTaken = Codes(secondary);
  rule.spamScore = 87;
  rule.spamLevel = 3;
  return rule;
}

inline ItemScanInfo::Antivirus::RuleInfo VirusRule(const wchar_t* file, int32_t action,
                                                   const wchar_t* threat, int32_t type) {
  ItemScanInfo::Antivirus::RuleInfo rule;
  rule.ruleName = L"Virus scan";
  rule.scanned = true;
  rule.fileName = file;
  rule.initialScanStatus = 2;
  rule.finalScanStatus = 1;
  if (threat) rule.threats.EmplaceBack(ItemScanInfo::Antivirus::RuleInfo::Threat{threat, type});
  rule.actionTaken = action;
  rule.actionTakenOnParent = 1;
  return rule;
}

// A realistic e-mail: three modules with two rules each.
inline ItemScanInfo BusyEmail() {
  ItemScanInfo item = TransportEmail();
  item.antispam.action = 0x302;
  item.antispam.rules.EmplaceBack(SpamRule(L"Bulk", 3, {0, 1}));
  item.antispam.rules.EmplaceBack(SpamRule(L"Phishing", 2, {}));
  item.antivirus.action = 10;
  item.antivirus.rules.EmplaceBack(VirusRule(L"invoice.doc", 10, L"W97M.Macro", 0));
  item.antivirus.rules.EmplaceBack(VirusRule(L"setup.exe", 5, L"Trojan.Agent", 0x86));
  item.content.action = 1;
  for (const wchar_t* name : {L"Confidential", L"Salary"}) {
    ItemScanInfo::Content::RuleInfo rule;
    rule.ruleName = name;
    rule.mainActionTaken = 3;
    rule.secondaryActionsTaken = Codes({0, 4});
    item.content.rules.EmplaceBack(std::move(rule));
  }
  return item;
}

// Records the sinks registered with it.
class FakeOnAccess final : public kel::nusdk::MailServers::IMailServers {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return this; }
  uint32_t Reserved1() override { return 0; }
  uint32_t Reserved2() override { return 0; }
  uint32_t Reserved3() override { return 0; }
  uint32_t Reserved4() override { return 0; }
  uint32_t RegisterScanNotifications(kel::nusdk::MailServers::IScanNotifications* sink,
                                     void* reserved) override {
    if (reserved != nullptr) return 87;
    sinks.push_back(sink);
    return 0;
  }
  uint32_t UnregisterScanNotifications(kel::nusdk::MailServers::IScanNotifications* sink) override {
    auto found = std::find(sinks.begin(), sinks.end(), sink);
    if (found == sinks.end()) return kel::result::kNotFound;
    sinks.erase(found);
    return 0;
  }

  std::vector<kel::nusdk::MailServers::IScanNotifications*> sinks;
};

}  // namespace reporting_test
