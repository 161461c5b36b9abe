#include "quarantine/item_writer.h"

#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/writer.h>

namespace {

namespace q = kel::nusdk::MailServers::Quarantine;
using QuarantineAgent::Data;
using QuarantineAgent::DataEx;
using QuarantineAgent::MailPartInfo;

std::string Compact(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

std::string Canonical(std::string_view text) {
  Json::CharReaderBuilder builder;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  std::string problem;
  EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &value, &problem)) << problem;
  return Compact(value);
}

// A transport item of the Antispam filter, every common field set.
Data SpamItem() {
  Data item;
  item.id = L"q-1";
  item.detectionPoint.location = q::kLocationTransport;
  item.detectionPoint.mailbox = L"never written for transport";
  item.module = q::kModuleAntispam;
  item.rule = L"Spam rule";
  item.size = 5000000000ull;
  item.sourceIP = L"192.0.2.7";
  item.subject = L"Gr\u00fc\u00dfe";
  item.contentType = L"message/rfc822";
  item.when = -1;
  item.senderConnection = L"bounce@example.test";
  item.senderEmail = L"sender@example.test";
  item.recipientConnections.EmplaceBack(L"a@example.test");
  item.recipientEmails.EmplaceBack(L"a@example.test");
  item.recipientEmails.EmplaceBack(L"b@example.test");
  return item;
}

constexpr std::string_view kSpamItem = R"({
  "detectionPoint": {"location": "Transport"},
  "id": "q-1", "module": "Antispam", "rule": "Spam rule", "size": 5000000000,
  "sourceIP": "192.0.2.7", "subject": "Gr\u00fc\u00dfe", "when": -1,
  "sentBy": {"connection": "bounce@example.test", "email": "sender@example.test"},
  "sentTo": {"connection": ["a@example.test"], "email": ["a@example.test", "b@example.test"]},
  "contentType": "message/rfc822"})";

std::string Written(const Data& item, bool expectWritten = true) {
  Json::Value out;
  EXPECT_EQ(QuarantineAgent::WriteItem(item, out), expectWritten);
  return Compact(out);
}

TEST(ItemWriter, TransportItemHasNoScanPlace) {
  EXPECT_EQ(Written(SpamItem()), Canonical(kSpamItem));
}

TEST(ItemWriter, OnDemandItemNamesMailboxFolderAndTask) {
  Data item = SpamItem();
  item.detectionPoint.location = q::kLocationOnDemand;
  item.detectionPoint.mailbox = L"ceo@example.test";
  item.detectionPoint.folder = L"Inbox";
  item.detectionPoint.task = L"Nightly";
  Json::Value out;
  ASSERT_TRUE(QuarantineAgent::WriteItem(item, out));
  EXPECT_EQ(Compact(out["detectionPoint"]),
            Canonical(R"({"location": "OnDemand", "mailbox": "ceo@example.test",
                          "folder": "Inbox", "task": "Nightly"})"));
}

// One row per module: the section it adds, if any.
TEST(ItemWriter, ModuleSections) {
  struct Row {
    int32_t module;
    const char* name;
    const char* section;  // the module's own object, or null for none
  };
  const Row rows[] = {
      {q::kModuleAntivirus, "Antivirus",
       R"({"Antivirus": {"detected": "EICAR", "reason": "unscannable", "file": "a.zip/e.com",
                         "status": ["suspect"]}})"},
      {q::kModuleAntispam, "Antispam", nullptr},
      {q::kModuleContent, "Content", nullptr},
      {q::kModuleAttachment, "Attachment", R"({"Attachment": {"detected": "setup.exe"}})"},
      {q::kModuleDomainCheck, "DomainCheck", nullptr},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Data item = SpamItem();
    item.module = row.module;
    item.antivirusDetected = L"EICAR";
    item.antivirusReason = q::kReasonUnscannable;
    item.antivirusFile = L"a.zip/e.com";
    item.antivirusStatus = q::kStatusSuspect;
    item.attachmentDetected = L"setup.exe";
    Json::Value expected;
    Json::CharReaderBuilder builder;
    std::string problem;
    const std::string base(kSpamItem);
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    ASSERT_TRUE(reader->parse(base.data(), base.data() + base.size(), &expected, &problem));
    expected["module"] = row.name;
    if (row.section) {
      Json::Value section;
      const std::string text(row.section);
      ASSERT_TRUE(reader->parse(text.data(), text.data() + text.size(), &section, &problem));
      for (const std::string& key : section.getMemberNames()) expected[key] = section[key];
    }
    EXPECT_EQ(Written(item), Compact(expected));
  }
}

// Flags in ascending code order, whatever else the word holds.
TEST(ItemWriter, ScanStatusFlags) {
  struct Row {
    uint32_t status;
    const char* names;
  };
  const Row rows[] = {
      {0, "[]"},
      {q::kStatusScanFailed | q::kStatusInfected, R"(["infected","scanFailed"])"},
      {0x7F | q::kStatusScanFailed,
       R"(["clean","infected","suspect","passwordProtected","deleteAfterReboot",
           "moveAfterReboot","scanFailed"])"},
      {0x40, "[]"},  // a bit without a name
  };
  for (const Row& row : rows) {
    Data item = SpamItem();
    item.module = q::kModuleAntivirus;
    item.antivirusStatus = row.status;
    Json::Value out;
    ASSERT_TRUE(QuarantineAgent::WriteItem(item, out));
    EXPECT_EQ(Compact(out["Antivirus"]["status"]), Canonical(row.names)) << row.status;
  }
}

// A code without a name is left out, and the item ends there.
TEST(ItemWriter, UnnamedCodeStopsTheItem) {
  Data reason = SpamItem();
  reason.module = q::kModuleAntivirus;
  reason.antivirusDetected = L"EICAR";
  reason.antivirusReason = 5;
  reason.antivirusFile = L"never written";
  Json::Value out;
  EXPECT_FALSE(QuarantineAgent::WriteItem(reason, out));
  EXPECT_EQ(Compact(out["Antivirus"]), Canonical(R"({"detected": "EICAR"})"));

  Data module = SpamItem();
  module.module = 9;
  EXPECT_FALSE(QuarantineAgent::WriteItem(module, out));
  EXPECT_EQ(Compact(out),
            Canonical(R"({"detectionPoint": {"location": "Transport"}, "id": "q-1"})"));

  Data location = SpamItem();
  location.detectionPoint.location = 2;
  EXPECT_FALSE(QuarantineAgent::WriteItem(location, out));
  EXPECT_EQ(Compact(out), "{}");

  kel::List<Data> items;
  items.EmplaceBack(SpamItem());
  items.EmplaceBack(module);
  EXPECT_FALSE(QuarantineAgent::WriteItems(items, out));
}

MailPartInfo Part(const wchar_t* contentType, const wchar_t* body) {
  MailPartInfo part;
  part.contentType = contentType;
  part.body = body;
  return part;
}

TEST(ItemWriter, FullItemWritesEveryLevelOfParts) {
  DataEx item;
  static_cast<Data&>(item) = SpamItem();
  MailPartInfo& main = item.mainPart;
  main = Part(L"multipart/mixed", L"");
  auto& header = main.headers.EmplaceBack();
  header.name = L"Subject";
  header.value = L"Hi";
  MailPartInfo& alternative = main.childParts.EmplaceBack(Part(L"multipart/alternative", L""));
  alternative.childParts.EmplaceBack(Part(L"text/plain", L"plain"));
  alternative.childParts.EmplaceBack(Part(L"text/html", L"<p>html</p>"));
  MailPartInfo& attachment = main.childParts.EmplaceBack(Part(L"application/zip", L"UEsDBA=="));
  attachment.name = L"a.zip";
  Json::Value out;
  ASSERT_TRUE(QuarantineAgent::WriteItem(item, out));
  EXPECT_EQ(Compact(out["mainPart"]), Canonical(R"({
    "headers": [{"name": "Subject", "value": "Hi"}], "name": "", "contentType": "multipart/mixed",
    "body": "", "childParts": [
      {"headers": [], "name": "", "contentType": "multipart/alternative", "body": "", "childParts": [
        {"headers": [], "name": "", "contentType": "text/plain", "body": "plain", "childParts": []},
        {"headers": [], "name": "", "contentType": "text/html", "body": "<p>html</p>", "childParts": []}]},
      {"headers": [], "name": "a.zip", "contentType": "application/zip", "body": "UEsDBA==",
       "childParts": []}]})"));
  out.removeMember("mainPart");
  EXPECT_EQ(Compact(out), Canonical(kSpamItem));
}

// A chain of `depth` parts, built and freed without recursion.
struct Chain {
  explicit Chain(size_t depth) {
    for (size_t level = 1; level < depth; ++level) {
      MailPartInfo parent = Part(L"multipart/mixed", L"");
      parent.childParts.EmplaceBack(std::move(root));
      root = std::move(parent);
    }
  }
  ~Chain() { QuarantineAgent::ReleaseChildParts(root); }
  MailPartInfo root = Part(L"text/plain", L"leaf");
};

size_t WrittenDepth(const Json::Value& part) {
  size_t depth = 0;
  for (const Json::Value* at = &part; at->isObject(); ++depth) {
    const Json::Value& children = (*at)["childParts"];
    if (children.empty()) return depth + 1;
    at = &children[0];
  }
  return depth;
}

TEST(ItemWriter, PartsUpToTheBoundAreWrittenWhole) {
  Chain chain(QuarantineAgent::kMaxPartDepth);
  Json::Value out;
  ASSERT_TRUE(QuarantineAgent::WriteMailPart(chain.root, out));
  EXPECT_EQ(WrittenDepth(out), QuarantineAgent::kMaxPartDepth);
}

TEST(ItemWriter, PartsPastTheBoundFailTheItemWithoutCrashing) {
  for (size_t depth : {QuarantineAgent::kMaxPartDepth + 1, size_t{100000}}) {
    Chain chain(depth);
    DataEx item;
    static_cast<Data&>(item) = SpamItem();
    item.mainPart = std::move(chain.root);
    Json::Value out;
    EXPECT_FALSE(QuarantineAgent::WriteItem(item, out)) << depth;
    EXPECT_FALSE(out.isMember("mainPart"));
    chain.root = std::move(item.mainPart);
  }
}

}  // namespace
