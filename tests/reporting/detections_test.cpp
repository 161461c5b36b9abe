// The per-message detections event against literal JSON.
#include <functional>

#include <gtest/gtest.h>

#include "reporting/detections_event.h"
#include "tests/agent/json_test_util.h"
#include "tests/reporting/scan_items.h"

namespace {

using json_test::Canonical;
using json_test::Compact;
using reporting_test::ItemScanInfo;

TEST(DetectionsEvent, SentOnlyForTransportEmailsWithSomethingFound) {
  struct Case {
    const char* name;
    std::function<ItemScanInfo()> item;
    const char* expected;  // null: no event
  };
  const Case cases[] = {
      {"a clean message", reporting_test::TransportEmail, nullptr},
      {"zero error counts are no errors",
       [] {
         ItemScanInfo item = reporting_test::TransportEmail();
         item.errors.Insert(L"timeout", 0);
         return item;
       },
       nullptr},
      {"an on-demand scan",
       [] {
         ItemScanInfo item = reporting_test::BusyEmail();
         item.onDemandTaskId = {0, 7};
         return item;
       },
       nullptr},
      {"an object",
       [] {
         ItemScanInfo item = reporting_test::BusyEmail();
         item.objectType = 1;
         return item;
       },
       nullptr},
      {"three modules: each action named once, in module order", reporting_test::BusyEmail,
       R"({"messageId": "<m1@example.test>", "subject": "Quarterly report",
           "sentBy": {"connection": "Alice@Example.test"},
           "detections": ["antispam", "antivirus", "content"],
           "antivirus": [{"name": "W97M.Macro", "type": "virus"},
                         {"name": "Trojan.Agent", "type": "pua"}],
           "content": ["Confidential", "Salary"], "attachment": [],
           "actions": ["deliverEmail", "quarantineEmail", "disinfectFile", "deleteFile"],
           "notScanned": [], "errors": {}, "unscannable": []})"},
      {"errors alone, files not scanned, attachments matched",
       [] {
         ItemScanInfo item = reporting_test::TransportEmail();
         item.errors.Insert(L"timeout", 2);
         auto big = reporting_test::VirusRule(L"big.zip", 1, L"Bomb", 7);
         big.scanned = false;
         big.finalScanStatus = 8;
         auto failed = reporting_test::VirusRule(L"odd.bin", 77, nullptr, 0);
         failed.finalScanStatus = 0x40000000;
         item.antivirus.rules.EmplaceBack(big);
         item.antivirus.rules.EmplaceBack(failed);
         ItemScanInfo::Attachment::RuleInfo attachment;
         attachment.mainActionTaken = 2;
         attachment.filesMatched.EmplaceBack(
             ItemScanInfo::Attachment::RuleInfo::File{L"a.exe", 10});
         attachment.filesMatched.EmplaceBack(
             ItemScanInfo::Attachment::RuleInfo::File{L"b.scr", 20});
         item.attachment.rules.EmplaceBack(attachment);
         ItemScanInfo::DomainCheck::RuleInfo domain;
         domain.mainActionTaken = 1;
         item.domainCheck.rules.EmplaceBack(domain);
         return item;
       },
       R"({"messageId": "<m1@example.test>", "subject": "Quarterly report",
           "sentBy": {"connection": "Alice@Example.test"},
           "detections": ["antivirus", "attachment", "domainCheck"],
           "antivirus": [{"name": "Bomb", "type": "archiveBomb"}],
           "content": [], "attachment": ["a.exe", "b.scr"],
           "actions": ["ignoreFile", "replaceAttachment", "redirectEmail"],
           "notScanned": ["big.zip"], "errors": {"timeout": 2},
           "unscannable": ["big.zip", "odd.bin"]})"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Json::Value document(Json::objectValue);
    const bool sent = Reporting::WriteDetectionsDocument(c.item(), document);
    if (!c.expected) {
      EXPECT_FALSE(sent);
      EXPECT_EQ(Compact(document), "{}");
      continue;
    }
    ASSERT_TRUE(sent);
    EXPECT_EQ(Compact(document), Canonical(c.expected));
  }
}

}  // namespace
