#include "quarantine/item_writer.h"

#include <gtest/gtest.h>

#include "tests/agent/json_test_util.h"

namespace {

namespace q = kel::nusdk::MailServers::Quarantine;
using QuarantineAgent::Data;
using QuarantineAgent::DataEx;
using QuarantineAgent::MailPartInfo;

using json_test::Canonical;
using json_test::Compact;

// Every common key of an item is proven in tests/host/quarantine.jsonl.
Data SpamItem() {
  Data item;
  item.id = L"q-1";
  item.module = q::kModuleAntispam;
  return item;
}

// The sections tests/host/quarantine.jsonl does not reach: the attachment's, every
// status flag in code order, and codes without a name, which fail the item
// whole.
TEST(ItemWriter, SectionsFlagsAndUnnamedCodes) {
  const struct {
    const char* what;
    int32_t module;
    uint32_t status;
    int32_t reason;
    int32_t location;
    bool written;
    const char* section;  // the members after "contentType"
  } rows[] = {
      {"attachment", q::kModuleAttachment, 0, 0, 0, true,
       R"({"Attachment": {"detected": "setup.exe"}})"},
      {"every flag", q::kModuleAntivirus, 0x7F | q::kStatusScanFailed, 0, 0, true,
       R"({"Antivirus": {"detected": "EICAR", "reason": "detected", "file": "a.zip",
           "status": ["clean", "infected", "suspect", "passwordProtected", "deleteAfterReboot",
                      "moveAfterReboot", "scanFailed"]}})"},
      {"a bit without a name", q::kModuleAntivirus, 0x40, 0, 0, true,
       R"({"Antivirus": {"detected": "EICAR", "reason": "detected", "file": "a.zip",
           "status": []}})"},
      {"a reason without a name", q::kModuleAntivirus, 0, 5, 0, false, "{}"},
      {"a location without a name", q::kModuleAntivirus, 0, 0, 2, false, "{}"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    Data item = SpamItem();
    item.module = row.module;
    item.antivirusDetected = L"EICAR";
    item.antivirusReason = row.reason;
    item.antivirusFile = L"a.zip";
    item.antivirusStatus = row.status;
    item.attachmentDetected = L"setup.exe";
    item.detectionPoint.location = row.location;
    Json::Value out;
    EXPECT_EQ(QuarantineAgent::WriteItem(item, out), row.written);
    Json::Value section(Json::objectValue);
    for (const char* key : {"Antivirus", "Attachment"})
      if (out.isMember(key)) section[key] = out[key];
    EXPECT_EQ(Compact(section), Canonical(row.section));
    if (!row.written) {
      EXPECT_EQ(Compact(out), "{}");
    }
  }
}

MailPartInfo Part(const wchar_t* contentType, const wchar_t* body) {
  MailPartInfo part;
  part.contentType = contentType;
  part.body = body;
  return part;
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
