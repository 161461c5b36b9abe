// The attachment rule set in JSON: the shifted main actions and their "data",
// the secondary actions with their tagged arguments, the two match-mode
// tables. tests/host/attachment.jsonl carries every member through the
// transport agent.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/transport/rule_filters.h"
#include "transport/attachment/attachment_schema.h"

namespace {

namespace at = kel::nusdk::MailServers::Attachment;
using rule_test::Describe;

// The smallest rule that loads: every scan setting is optional.
const char kRuleSetText[] = R"({"enabled": true, "rules": [{"name": "r",
  "onDetection": {"mainAction": {"action": "deliverEmail"}}}]})";

class AttachmentRules : public rule_test::RuleSetTest<at::RuleSet, kRuleSetText> {};

// "data" is required, and not empty, only where it is the argument.
TEST_F(AttachmentRules, TheMainActionTable) {
  struct Case {
    const char* action;
    uint32_t code;
    bool needsData;
  };
  for (const Case& c : {Case{"rejectOrDeleteEmail", 0, false}, Case{"deleteAttachment", 1, false},
                        Case{"replaceAttachment", 2, true}, Case{"redirectEmail", 3, true},
                        Case{"quarantineEmail", 4, false}, Case{"deliverEmail", 5, false}}) {
    const std::string action = std::string(R"({"action": ")") + c.action + "\"";
    EXPECT_EQ(
        Describe(Loaded(With("onDetection/mainAction", (action + R"(, "data": "x"})").c_str()))
                     .onDetection.mainAction),
        "{" + std::to_string(c.code) + " \"x\"}");
    for (const char* missing : {"}", R"(, "data": ""})"}) {
      const Json::Value doc = With("onDetection/mainAction", (action + missing).c_str());
      if (c.needsData) {
        ExpectRefused(doc, {"mainAction", "onDetection"});
      } else {
        Loaded(doc);
      }
    }
    ExpectRefused(With("onDetection/mainAction", (action + R"(, "data": ["a"]})").c_str()),
                  {"data", "mainAction", "onDetection"});
  }
  // The common main action's key for the target is not this filter's.
  ExpectRefused(With("onDetection/mainAction", R"({"action": "redirectEmail", "address": "a"})"),
                {"mainAction", "onDetection"});
}

// Described: action, kind of data, text, forward address, notification,
// recipients, extra data.
TEST_F(AttachmentRules, TheSecondaryActionTable) {
  const rule_test::Row rows[] = {
      {R"([{"action": "tagSubject", "data": "[x]"}])", R"([{0 0 "[x]" "" {1 1} [] ""},])", {}},
      {R"([{"action": "addHeader", "data": "X-A", "extraData": "1"}])",
       R"([{1 0 "X-A" "" {1 1} [] "1"},])",
       {}},
      {R"([{"action": "saveToFolder", "data": "q"}])", R"([{2 0 "q" "" {1 1} [] ""},])", {}},
      {R"([{"action": "bccTo", "data": 42}])", R"([{3 0 "42" "" {1 1} [] ""},])", {}},
      {R"([{"action": "forwardEmail", "data": {"to": "f@x"}}])",
       R"([{4 1 "" "f@x" {1 1} [] ""},])",
       {}},
      {R"([{"action": "notifyInternalRecipients", "data": {"receivers": false}}])",
       R"([{5 2 "" "" {1 0} [] ""},])",
       {}},
      {R"([{"action": "notifyRecipients", "data": ["a", "b"]}])",
       R"([{6 3 "" "" {1 1} ["a","b",] ""},])",
       {}},
      {R"([{"action": "forwardEmail", "data": "f@x.example"}])", nullptr, {"data"}},
      {R"([{"action": "forwardEmail", "data": {"address": "f@x"}}])", nullptr, {"to", "data"}},
      {R"([{"action": "tagSubject"}])", nullptr, {"data"}},
      {R"([{"action": "notifyRecipients", "data": ["a", 1.5]}])", nullptr, {"data[1]", "data"}},
      {R"([{"action": "notifyInternalRecipients", "data": {"sender": "no"}}])",
       nullptr,
       {"sender", "data"}},
      {R"([{"action": "addSCLHeader"}])", nullptr, {"action"}},
      {R"([{"action": "TagSubject", "data": "x"}])", nullptr, {"action"}},
      // "extraData" is read before "data".
      {R"([{"action": "bccTo", "extraData": []}])", nullptr, {"extraData"}},
  };
  for (const rule_test::Row& row : rows) {
    Check(
        "onDetection/secondaryActions", row,
        {"secondaryActions[0]", "secondaryActions", "onDetection"},
        [](const at::RuleSet::Rule& rule) -> const auto& {
          return rule.onDetection.secondaryActions;
        });
  }
}

TEST_F(AttachmentRules, MatchModesAreTwoTablesThatShareOnlyByExtension) {
  struct Case {
    const char* known;
    const char* custom;
    const char* loaded;  // known, then custom; null: refused
  };
  for (const Case& c :
       {Case{"byContent", "byContent", "1 2"}, Case{"byExtension", "byRelatedExtensions", "0 1"},
        Case{"byRelatedExtensions", "byExtension", nullptr}}) {
    const std::string categories = std::string(R"({"known": {"matchMode": ")") + c.known +
                                   R"("}, "custom": {"matchMode": ")" + c.custom + "\"}}";
    const Json::Value doc = With("scanSettings/categories", categories.c_str());
    if (!c.loaded) {
      ExpectRefused(doc, {"matchMode", "known", "categories", "scanSettings"});
      continue;
    }
    const at::RuleSet::Rule rule = Loaded(doc);
    const auto& loaded = rule.scanSettings.categories;
    EXPECT_EQ(
        std::to_string(loaded.known.matchMode) + " " + std::to_string(loaded.custom.matchMode),
        c.loaded);
  }
}

}  // namespace
