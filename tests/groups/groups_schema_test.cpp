// The JSON forms of the groups agent that scripts cannot reach: a group with
// a last run or a kind without a name, a run under way, and the bounds of the
// inputs. The rest, event bodies included, runs in tests/host/groups*.jsonl.
#include <gtest/gtest.h>

#include <string>

#include "groups/groups_schema.h"
#include "tests/agent/json_test_util.h"

namespace {

using EnterpriseIntegration::JsonNodeRef;
using EnterpriseIntegration::JsonSerializer;
using json_test::Canonical;
using json_test::Compact;
using json_test::Parse;
namespace sdk = kel::nusdk::MailServers::Groups;

template <class T>
std::string Saved(const T& value) {
  Json::Value document;
  EXPECT_TRUE(JsonSerializer<T>::Save(document, value));
  return Compact(document);
}

template <class T>
bool Loads(const std::string& text) {
  const Json::Value input = Parse(text);
  T value;
  return JsonSerializer<T>::Load(JsonNodeRef(&input), value);
}

const kel::Guid kId{0x8000000000000001ull, 0x6b1e000000004000ull};

sdk::Group MakeGroup(uint32_t kind, const wchar_t* dn, int64_t syncTime) {
  sdk::Group group;
  group.id = kId;
  group.name = L"Sales";
  group.description = L"d\u00e9partement";
  group.kind = kind;
  group.directoryDn = dn;
  group.members.EmplaceBack(L"a@example.test");
  group.memberCount = 1;
  group.lastSync.time = syncTime;
  group.lastSync.error = syncTime ? 1168 : 0;
  return group;
}

TEST(GroupsSchema, AGroupWritesItsLastSyncAndOnlyNamedKinds) {
  const struct {
    sdk::Group group;
    const char* json;
  } cases[] = {
      {MakeGroup(sdk::kGroupDirectory, L"CN=Sales,DC=example,DC=test", 1700000000),
       R"({"id":"6b1e0000-0000-4000-8000-000000000001","name":"Sales","description":"d\u00e9partement",
           "kind":"directory","dn":"CN=Sales,DC=example,DC=test","memberCount":1,
           "members":["a@example.test"],"lastSync":{"time":1700000000,"error":1168}})"},
      // A kind the agent has no name for is left out, as every unnamed code is.
      {MakeGroup(7, L"", 0),
       R"({"id":"6b1e0000-0000-4000-8000-000000000001","name":"Sales","description":"d\u00e9partement",
           "memberCount":1,"members":["a@example.test"]})"},
  };
  for (const auto& c : cases) EXPECT_EQ(Saved(c.group), Canonical(c.json)) << c.json;
}

TEST(GroupsSchema, SyncStatusWritesARunOnlyOnceThereIsOne) {
  sdk::SyncStatus running;
  running.running = 1;
  running.started = 100;
  running.groups = 3;
  running.synchronized = 1;
  sdk::SyncStatus finished = running;
  finished.running = 0;
  finished.finished = 160;
  finished.failed = 2;
  finished.error = 1067;
  EXPECT_EQ(Saved(running), Canonical(R"({"running":true,"started":100,"groups":3,
                                          "synchronized":1,"failed":0})"));
  EXPECT_EQ(Saved(finished), Canonical(R"({"running":false,"started":100,"groups":3,
                                           "synchronized":1,"failed":2,"finished":160,"error":1067})"));
}

// A list of `n` copies of `element`, as JSON text.
std::string Repeated(const std::string& element, size_t n) {
  std::string text = "[";
  for (size_t i = 0; i < n; ++i) text += (i ? "," : "") + element;
  return text + "]";
}

// The bounds of every list and text, which scripts would need lines of many
// kilobytes to reach; every other input rule runs through the agent in
// tests/host/groups.jsonl.
TEST(GroupsSchema, ListsAndTextsUpToTheirBounds) {
  using GroupsManagerAgent::kMaxIdsPerRequest;
  using GroupsManagerAgent::kMaxMembersPerRequest;
  const std::string settings = R"({"kind":"local","name":")";
  const std::string members = R"({"id":"6b1e0000-0000-4000-8000-000000000001","members":)";
  const std::string address = "\"user@example.test\"";
  const std::string id = "\"6b1e0000-0000-4000-8000-000000000001\"";
  const struct {
    bool (*load)(const std::string&);
    std::string input;
    bool loads;
  } cases[] = {
      {Loads<sdk::GroupSettings>, settings + std::string(256, 'n') + "\"}", true},
      {Loads<sdk::GroupSettings>, settings + std::string(257, 'n') + "\"}", false},
      {Loads<sdk::GroupSettings>,
       settings + R"(S","description":")" + std::string(1024, 'd') + "\"}", true},
      {Loads<sdk::GroupSettings>,
       settings + R"(S","description":")" + std::string(1025, 'd') + "\"}", false},
      {Loads<GroupsManagerAgent::MemberChange>,
       members + Repeated(address, kMaxMembersPerRequest) + "}", true},
      {Loads<GroupsManagerAgent::MemberChange>,
       members + Repeated(address, kMaxMembersPerRequest + 1) + "}", false},
      {Loads<GroupsManagerAgent::MemberChange>,
       members + "[\"" + std::string(300, 'u') + "@" + std::string(20, 'd') + "\"]}", false},
      {Loads<GroupsManagerAgent::NewGroup>,
       R"({"name":"S","kind":"local","members":)" + Repeated(address, kMaxMembersPerRequest + 1) +
           "}",
       false},
      {Loads<GroupsManagerAgent::SyncRequest>, R"({"ids":)" + Repeated(id, kMaxIdsPerRequest) + "}",
       true},
      {Loads<GroupsManagerAgent::SyncRequest>,
       R"({"ids":)" + Repeated(id, kMaxIdsPerRequest + 1) + "}", false},
  };
  for (const auto& c : cases) EXPECT_EQ(c.load(c.input), c.loads) << c.input.substr(0, 80);
}

}  // namespace
