// The item scan documents against literal JSON; the scanner agent itself is
// walked end to end by tests/host/reporting_scanner.jsonl.
#include <functional>

#include <gtest/gtest.h>

#include "reporting/item_document.h"
#include "tests/agent/json_test_util.h"
#include "tests/reporting/scan_items.h"

namespace {

using json_test::Canonical;
using json_test::Compact;
using reporting_test::ItemScanInfo;
using reporting_test::TransportEmail;

constexpr kel::Guid kTask{0xfedcba9876543210ull, 0x0123456789abcdefull};

TEST(ItemDocument, EventNameBySourceAndKind) {
  struct Case {
    kel::Guid task;
    int32_t objectType;
    const wchar_t* name;
  };
  const Case cases[] = {
      {{}, 0, L"MailServers.Transport.EmailScanned"},
      {kTask, 0, L"MailServers.OnDemand.EmailScanned"},
      {{}, 5, L"MailServers.Transport.ObjectScanned"},
      {kTask, 4, L"MailServers.OnDemand.ObjectScanned"},
      // Either half of the task id makes it on-demand.
      {{1, 0}, 0, L"MailServers.OnDemand.EmailScanned"},
      {{0, 1}, -1, L"MailServers.OnDemand.ObjectScanned"},
  };
  for (const Case& c : cases) {
    ItemScanInfo item;
    item.onDemandTaskId = c.task;
    item.objectType = c.objectType;
    EXPECT_STREQ(Reporting::ItemEventName(item), c.name);
  }
}

struct DocumentCase {
  const char* name;
  std::function<void(ItemScanInfo&)> change;
  const char* expected;
};

TEST(ItemDocument, WholeDocumentsBySourceAndKind) {
  const DocumentCase cases[] = {
      {"transport e-mail, no rules", [](ItemScanInfo&) {}, R"({
        "actionTaken": "passthrough", "subject": "Quarterly report", "size": 5000000000,
        "authenticated": true,
        "sentBy": {"connection": "Alice@Example.test", "email": "alice@example.test"},
        "sentTo": {"connection": ["bob@corp.test", "carol@corp.test"], "email": ["bob@corp.test"]},
        "messageId": "<m1@example.test>", "quarantinedItemID": "",
        "sourceIP": {"connection": "192.0.2.7"}, "traffic": "incoming"})"},
      {"on-demand e-mail: task keys, no authenticated, no traffic when 0, outcome unnamed",
       [](ItemScanInfo& item) {
         item.onDemandTaskId = kTask;
         item.mailbox = L"bob";
         item.folderPath = L"/Inbox";
         item.traffic = 0;
         item.actionTaken = 7;
         item.errors.Insert(L"timeout", 0);  // all zero: no "errors"
         item.quarantinedItemId = L"Q-17";
         item.recipientConnections.RemoveAll();
       },
       R"({
        "onDemandTaskId": "01234567-89ab-cdef-fedc-ba9876543210", "mailBox": "bob",
        "folderPath": "/Inbox", "subject": "Quarterly report", "size": 5000000000,
        "sentBy": {"connection": "Alice@Example.test", "email": "alice@example.test"},
        "sentTo": {"connection": [], "email": ["bob@corp.test"]},
        "messageId": "<m1@example.test>", "quarantinedItemID": "Q-17",
        "sourceIP": {"connection": "192.0.2.7"}})"},
      {"on-demand appointment: no sender keys",
       [](ItemScanInfo& item) {
         item.onDemandTaskId = kTask;
         item.objectType = 4;
         item.mailbox = L"bob";
         item.folderPath = L"/Calendar";
         item.fileName = L"Board meeting";
         item.actionTaken = 1;
       },
       R"({
        "onDemandTaskId": "01234567-89ab-cdef-fedc-ba9876543210", "mailBox": "bob",
        "folderPath": "/Calendar", "actionTaken": "modify", "subject": "Quarterly report",
        "size": 5000000000, "type": "appointment", "fileName": "Board meeting"})"},
      {"transport object of an unnamed type",
       [](ItemScanInfo& item) {
         item.objectType = 9;
         item.fileName = L"x.bin";
         item.actionTaken = 2;
       },
       R"({"actionTaken": "drop", "subject": "Quarterly report", "size": 5000000000,
           "fileName": "x.bin"})"},
      {"unknown traffic and zero error counts",
       [](ItemScanInfo& item) {
         item.traffic = 3;
         item.errors.Insert(L"timeout", 0);
         item.errors.Insert(L"archiveDepth", 2);
         item.errors.Insert(L"größe", -1);
         item.authenticated = false;
       },
       R"({
        "actionTaken": "passthrough", "errors": {"archiveDepth": 2, "größe": -1},
        "subject": "Quarterly report", "size": 5000000000, "authenticated": false,
        "sentBy": {"connection": "Alice@Example.test", "email": "alice@example.test"},
        "sentTo": {"connection": ["bob@corp.test", "carol@corp.test"], "email": ["bob@corp.test"]},
        "messageId": "<m1@example.test>", "quarantinedItemID": "",
        "sourceIP": {"connection": "192.0.2.7"}, "traffic": "n/a"})"},
  };
  for (const DocumentCase& c : cases) {
    SCOPED_TRACE(c.name);
    ItemScanInfo item = TransportEmail();
    c.change(item);
    Json::Value document;
    Reporting::WriteItemDocument(item, document);
    EXPECT_EQ(Compact(document), Canonical(c.expected));
  }
}

// The module part of the document, the rest being as in the first case above.
struct ModuleCase {
  const char* name;
  std::function<void(ItemScanInfo&)> change;
  const char* expected;  // the members "antispam" to "domainCheck" only
};

TEST(ItemDocument, ModulesAndTheirRules) {
  using Av = ItemScanInfo::Antivirus::RuleInfo;
  const ModuleCase cases[] = {
      {"an action without rules writes nothing",
       [](ItemScanInfo& item) {
         item.antivirus.action = 5;
         item.antispam.action = 0x302;
       },
       "{}"},
      {"antispam: rules only with a named action",
       [](ItemScanInfo& item) {
         item.antispam.action = 2;
         item.antispam.rules.EmplaceBack(reporting_test::SpamRule(L"Bulk", 3, {}));
       },
       "{}"},
      {"the other modules: rules whatever the action",
       [](ItemScanInfo& item) {
         ItemScanInfo::Content::RuleInfo content;
         content.ruleName = L"Salary";
         content.stoppedProcessingMoreRules = true;
         content.mainActionTaken = 1;
         content.secondaryActionsTaken = reporting_test::Codes({4, 5, 6});
         item.content.action = 2;
         item.content.rules.EmplaceBack(content);
         ItemScanInfo::DomainCheck::RuleInfo domain;
         domain.ruleName = L"Spoofed";
         domain.detectedWithoutScan = true;
         domain.mainActionTaken = 0;
         domain.secondaryActionsTaken = reporting_test::Codes({3, 4});
         item.domainCheck.action = 0x602;
         item.domainCheck.rules.EmplaceBack(domain);
       },
       R"({
        "content": {"rulesMatched": [{"ruleName": "Salary", "stoppedProcessingMoreRules": true,
          "detectedWithoutScan": false, "mainActionTaken": "redirectEmail",
          "secondaryActionsTaken": ["notifyInternalRecipients", "notifyRecipients"]}]},
        "domainCheck": {"action": "rejectOrDeleteEmail", "rulesMatched": [{"ruleName": "Spoofed",
          "stoppedProcessingMoreRules": false, "detectedWithoutScan": true,
          "mainActionTaken": "rejectOrDeleteEmail", "secondaryActionsTaken": ["bccTo"]}]}})"},
      {"antispam rule keys and its own secondary table",
       [](ItemScanInfo& item) {
         item.antispam.action = 0x402;
         item.antispam.rules.EmplaceBack(reporting_test::SpamRule(L"Bulk", 3, {4, 0, 9}));
         item.antispam.rules.EmplaceBack(reporting_test::SpamRule(L"Odd", 8, {}));
       },
       R"({"antispam": {"action": "redirectEmail", "rulesMatched": [
          {"ruleName": "Bulk", "stoppedProcessingMoreRules": false, "detectedWithoutScan": false,
           "spamScore": 87, "mainActionTaken": "deliverEmail",
           "secondaryActionsTaken": ["addSCLHeader", "tagSubject"], "spamLevel": 3},
          {"ruleName": "Odd", "stoppedProcessingMoreRules": false, "detectedWithoutScan": false,
           "spamScore": 87, "secondaryActionsTaken": [], "spamLevel": 3}]}})"},
      {"antivirus: status flags, threat types, file actions",
       [](ItemScanInfo& item) {
         Av rule = reporting_test::VirusRule(L"a.zip", 0x505, L"EICAR", 0x86);
         rule.isInArchive = true;
         rule.quarantinedItemId = L"Q-9";
         rule.initialScanStatus = 3;
         rule.finalScanStatus = 0x40000000;
         rule.actionTakenOnParent = 2;
         rule.threats.EmplaceBack(Av::Threat{L"Odd", 8});
         rule.threats.EmplaceBack(Av::Threat{L"Who", -1});
         Av clean = reporting_test::VirusRule(L"b.txt", 1, nullptr, 0);
         clean.initialScanStatus = 0;
         clean.finalScanStatus = 0x3F;
         item.antivirus.action = 7;
         item.antivirus.rules.EmplaceBack(rule);
         item.antivirus.rules.EmplaceBack(clean);
       },
       R"({"antivirus": {"action": "quarantineFile", "rulesMatched": [
          {"ruleName": "Virus scan", "stoppedProcessingMoreRules": false,
           "detectedWithoutScan": false, "scanned": true, "fileName": "a.zip", "isInArchive": true,
           "initialScanStatus": ["clean", "infected"], "finalScanStatus": ["scanFailed"],
           "threats": [{"name": "EICAR", "type": "pua"}, {"name": "Odd"},
                       {"name": "Who", "type": "unknown"}],
           "actionTaken": "replaceFile", "quarantinedItemId": "Q-9"},
          {"ruleName": "Virus scan", "stoppedProcessingMoreRules": false,
           "detectedWithoutScan": false, "scanned": true, "fileName": "b.txt", "isInArchive": false,
           "initialScanStatus": [], "finalScanStatus": ["clean", "infected", "suspect",
             "passwordProtected", "deleteAfterReboot", "moveAfterReboot"],
           "threats": [], "actionTaken": "ignoreFile", "actionTakenOnParent": "ignoreFile",
           "quarantinedItemId": ""}]}})"},
      {"attachment: its own action tables and the files matched",
       [](ItemScanInfo& item) {
         ItemScanInfo::Attachment::RuleInfo rule;
         rule.ruleName = L"Executables";
         rule.mainActionTaken = 1;
         rule.secondaryActionsTaken = reporting_test::Codes({4, 6});
         rule.filesMatched.EmplaceBack(
             ItemScanInfo::Attachment::RuleInfo::File{L"setup.exe", 6'000'000'000});
         item.attachment.action = 3;
         item.attachment.rules.EmplaceBack(rule);
       },
       R"({"attachment": {"action": "disinfect", "rulesMatched": [
          {"ruleName": "Executables", "stoppedProcessingMoreRules": false,
           "detectedWithoutScan": false, "mainActionTaken": "deleteAttachment",
           "secondaryActionsTaken": ["forwardEmail", "notifyRecipients"],
           "filesMatched": [{"name": "setup.exe", "size": 6000000000}]}]}})"},
  };
  const char* const kModules[] = {"antispam", "antivirus", "content", "attachment", "domainCheck"};
  for (const ModuleCase& c : cases) {
    SCOPED_TRACE(c.name);
    ItemScanInfo item = TransportEmail();
    c.change(item);
    Json::Value document;
    Reporting::WriteItemDocument(item, document);
    Json::Value modules(Json::objectValue);
    for (const char* module : kModules) {
      if (document.isMember(module)) modules[module] = document[module];
    }
    EXPECT_EQ(Compact(modules), Canonical(c.expected));
  }
}

}  // namespace
