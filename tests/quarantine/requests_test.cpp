#include "quarantine/quarantine_requests.h"

#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <json/reader.h>

namespace {

using EnterpriseIntegration::JsonNodeRef;
using EnterpriseIntegration::JsonSerializer;
using namespace QuarantineAgent;

Json::Value Parse(std::string_view text) {
  Json::CharReaderBuilder builder;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  std::string problem;
  EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &value, &problem)) << problem;
  return value;
}

template <class T>
bool Loads(std::string_view text) {
  const Json::Value input = Parse(text);
  T request;
  return JsonSerializer<T>::Load(JsonNodeRef(&input), request);
}

using Loader = bool (*)(std::string_view);

struct Row {
  const char* what;
  Loader load;
  const char* input;
  bool loads;
};

template <size_t N>
void CheckRows(const Row (&rows)[N]) {
  for (const Row& row : rows)
    EXPECT_EQ(row.load(row.input), row.loads) << row.what << ": " << row.input;
}

TEST(QuarantineRequests, ZoneIsOneOfTheTwoNames) {
  const Row rows[] = {
      {"emails", Loads<ZoneRequest>, R"({"zone": "emails"})", true},
      {"files", Loads<ZoneRequest>, R"({"zone": "files"})", true},
      {"unknown name", Loads<ZoneRequest>, R"({"zone": "mail"})", false},
      {"case differs", Loads<ZoneRequest>, R"({"zone": "Emails"})", false},
      {"a number", Loads<ZoneRequest>, R"({"zone": 0})", false},
      {"missing", Loads<ZoneRequest>, R"({})", false},
      {"not an object", Loads<ZoneRequest>, R"(["emails"])", false},
      {"in a longer request", Loads<ItemRequest>, R"({"zone": "mail", "id": "a"})", false},
  };
  CheckRows(rows);
}

TEST(QuarantineRequests, EveryKeyIsRequiredAndTyped) {
  const Row rows[] = {
      {"folder", Loads<FolderRequest>,
       R"({"zone": "files", "folder": "D:\\q", "migrateCurrentContent": true})", true},
      {"folder without migrate", Loads<FolderRequest>, R"({"zone": "files", "folder": "D:\\q"})",
       false},
      {"folder as a list", Loads<FolderRequest>,
       R"({"zone": "files", "folder": ["D:"], "migrateCurrentContent": true})", false},
      {"delete", Loads<DeleteRequest>, R"({"zone": "emails", "ids": ["a", "b"], "context": "c"})",
       true},
      {"delete without context", Loads<DeleteRequest>, R"({"zone": "emails", "ids": ["a"]})",
       false},
      {"ids not a list", Loads<DeleteRequest>, R"({"zone": "emails", "ids": "a", "context": "c"})",
       false},
      {"an id not a string", Loads<IdsRequest>, R"({"zone": "emails", "ids": ["a", {}]})", false},
      {"save", Loads<SaveItemRequest>,
       R"({"zone": "emails", "id": "a", "filePath": "C:\\a.eml", "delete": false})", true},
      {"save with a string flag", Loads<SaveItemRequest>,
       R"({"zone": "emails", "id": "a", "filePath": "C:\\a.eml", "delete": "no"})", false},
      {"save to folder", Loads<SaveToFolderRequest>,
       R"({"zone": "emails", "ids": [], "folder": "C:\\", "delete": true})", true},
      {"purge settings", Loads<PurgeRequest>,
       R"({"zone": "emails", "enabled": true, "age": 86400, "startDate": -5, "runInterval": 3600})",
       true},
      {"purge age fractional", Loads<PurgeRequest>,
       R"({"zone": "emails", "enabled": true, "age": 1.5, "startDate": 0, "runInterval": 0})",
       false},
      {"purge without interval", Loads<PurgeRequest>,
       R"({"zone": "emails", "enabled": true, "age": 1, "startDate": 0})", false},
  };
  CheckRows(rows);
}

TEST(QuarantineRequests, PagesAreNonNegativeAndBounded) {
  const Row rows[] = {
      {"first page", Loads<PageRequest>, R"({"zone": "emails", "from": 0, "count": 50})", true},
      {"empty page", Loads<PageRequest>, R"({"zone": "emails", "from": 7, "count": 0})", true},
      {"largest page", Loads<PageRequest>, R"({"zone": "emails", "from": 0, "count": 10000})",
       true},
      {"too large", Loads<PageRequest>, R"({"zone": "emails", "from": 0, "count": 10001})", false},
      {"negative from", Loads<PageRequest>, R"({"zone": "emails", "from": -1, "count": 1})", false},
      {"negative count", Loads<PageRequest>, R"({"zone": "emails", "from": 0, "count": -1})",
       false},
      {"count as text", Loads<PageRequest>, R"({"zone": "emails", "from": 0, "count": "10"})",
       false},
      {"from missing", Loads<PageRequest>, R"({"zone": "emails", "count": 10})", false},
  };
  CheckRows(rows);
}

TEST(QuarantineRequests, ReleaseNeedsItsFourTextsAndTakesOptionalLists) {
  const Row rows[] = {
      {"minimal", Loads<ReleaseRequest>,
       R"({"user": "u", "password": "p", "subject": "s", "message": "m", "ids": ["a"], "context": "c"})",
       true},
      {"all", Loads<ReleaseRequest>,
       R"({"user": "u", "password": "p", "subject": "s", "message": "m", "email": "e@x.test", "exclusionKeys": ["<local>"], "sendTo": ["<original>"], "ids": ["a"], "context": "c"})",
       true},
      {"no password", Loads<ReleaseRequest>,
       R"({"user": "u", "subject": "s", "message": "m", "ids": ["a"], "context": "c"})", false},
      {"no ids", Loads<ReleaseRequest>,
       R"({"user": "u", "password": "p", "subject": "s", "message": "m", "context": "c"})", false},
      {"sendTo not a list", Loads<ReleaseRequest>,
       R"({"user": "u", "password": "p", "subject": "s", "message": "m", "sendTo": "a@x.test", "ids": ["a"], "context": "c"})",
       false},
      {"a key not a string", Loads<ReleaseRequest>,
       R"({"user": "u", "password": "p", "subject": "s", "message": "m", "exclusionKeys": [true], "ids": ["a"], "context": "c"})",
       false},
      {"replay", Loads<ReplayRequest>,
       R"({"ids": ["a"], "deleteFromQuarantine": true, "context": "c"})", true},
      {"replay with keys", Loads<ReplayRequest>,
       R"({"ids": ["a"], "deleteFromQuarantine": false, "exclusionKeys": ["<local>", "<domain>"], "context": "c"})",
       true},
      {"replay without the flag", Loads<ReplayRequest>, R"({"ids": ["a"], "context": "c"})", false},
  };
  CheckRows(rows);
}

TEST(QuarantineRequests, IdListsLongerThanTheLimitAreRefused) {
  auto ids = [](uint64_t count) {
    std::string list = "[";
    for (uint64_t i = 0; i < count; ++i) list += (i ? ",\"" : "\"") + std::to_string(i) + "\"";
    return list + "]";
  };
  for (uint64_t count : {kMaxIdsPerCall, kMaxIdsPerCall + 1, uint64_t{100000}}) {
    const bool loads = count <= kMaxIdsPerCall;
    const std::string list = ids(count);
    EXPECT_EQ(Loads<IdsRequest>(R"({"zone": "emails", "ids": )" + list + "}"), loads) << count;
    EXPECT_EQ(Loads<DeleteRequest>(R"({"zone": "emails", "context": "", "ids": )" + list + "}"),
              loads);
    EXPECT_EQ(Loads<ReplayRequest>(R"({"deleteFromQuarantine": true, "context": "", "ids": )" +
                                   list + "}"),
              loads);
  }
}

}  // namespace
