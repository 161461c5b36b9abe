// The JSON forms of the groups agent: what a group and the synchronisation
// status look like when written, and which inputs the checks let through.
// The event bodies are proven in tests/host/groups_sync.jsonl.
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

TEST(GroupsSchema, AGroupWritesItsDnAndLastSyncOnlyWhenItHasThem) {
  const struct {
    sdk::Group group;
    const char* json;
  } cases[] = {
      {MakeGroup(sdk::kGroupLocal, L"", 0),
       R"({"id":"6b1e0000-0000-4000-8000-000000000001","name":"Sales","description":"d\u00e9partement",
           "kind":"local","memberCount":1,"members":["a@example.test"]})"},
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

  // A page lists groups without their members.
  GroupsManagerAgent::GroupPage page;
  page.totalCount = 5;
  page.groups.EmplaceBack(MakeGroup(sdk::kGroupLocal, L"", 0));
  EXPECT_EQ(Saved(page),
            Canonical(R"({"totalCount":5,"groups":[{"id":"6b1e0000-0000-4000-8000-000000000001",
                "name":"Sales","description":"d\u00e9partement","kind":"local","memberCount":1}]})"));
}

TEST(GroupsSchema, SyncStatusWritesARunOnlyOnceThereIsOne) {
  sdk::SyncStatus never;
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
  EXPECT_EQ(Saved(never), Canonical(R"({"running":false})"));
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

TEST(GroupsSchema, TheSettingsOfAGroup) {
  const std::string name256(256, 'n');
  const std::string description1024(1024, 'd');
  const struct {
    std::string input;
    bool loads;
  } cases[] = {
      {R"({"name":"Sales","kind":"local"})", true},
      {R"({"name":"Sales","kind":"directory","dn":"CN=Sales,DC=example,DC=test"})", true},
      {R"({"name":"Sales","kind":"directory","dn":"a=b","description":""})", true},
      {R"({"name":")" + name256 + R"(","kind":"local","description":")" + description1024 + "\"}",
       true},
      // Names: present, a string (an integer counts, as everywhere), 1..256.
      {R"({"kind":"local"})", false},
      {R"({"name":"","kind":"local"})", false},
      {R"({"name":")" + name256 + R"(x","kind":"local"})", false},
      {R"({"name":["Sales"],"kind":"local"})", false},
      {R"({"name":"Sales","kind":"local","description":")" + description1024 + "x\"}", false},
      {R"({"name":"Sales","kind":"local","description":null})", false},
      // Kinds: the two names, exactly.
      {R"({"name":"Sales"})", false},
      {R"({"name":"Sales","kind":"Local"})", false},
      {R"({"name":"Sales","kind":"group"})", false},
      {R"({"name":"Sales","kind":0})", false},
      // A DN for a directory group, and only for one; "attribute=value" at least.
      {R"({"name":"Sales","kind":"directory"})", false},
      {R"({"name":"Sales","kind":"directory","dn":""})", false},
      {R"({"name":"Sales","kind":"directory","dn":"Sales"})", false},
      {R"({"name":"Sales","kind":"directory","dn":"=Sales"})", false},
      {R"({"name":"Sales","kind":"directory","dn":"CN="})", false},
      {R"({"name":"Sales","kind":"directory","dn":"CN=a\u0000b"})", false},
      {R"({"name":"Sales","kind":"local","dn":"CN=Sales"})", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Loads<sdk::GroupSettings>(c.input), c.loads) << c.input.substr(0, 120);
  }
}

TEST(GroupsSchema, MembersAreAddressesAndAtMostTenThousand) {
  const std::string address = "\"user@example.test\"";
  const struct {
    std::string members;
    bool loads;
  } cases[] = {
      {"[]", true},
      {R"(["a@b","\"x@y\"@example.test","u\u00e9@b\u00fccher.test"])", true},
      {Repeated(address, GroupsManagerAgent::kMaxMembersPerRequest), true},
      {Repeated(address, GroupsManagerAgent::kMaxMembersPerRequest + 1), false},
      {R"(["ab"])", false},
      {R"(["@example.test"])", false},
      {R"(["user@"])", false},
      {R"(["user"])", false},
      {R"(["us er@example.test"])", false},
      {R"(["user@example.test\n"])", false},
      {R"(["user\u0000@example.test"])", false},
      {R"(["a@b",7])", false},
      {R"("a@b")", false},
      {"[\"" + std::string(300, 'u') + "@" + std::string(20, 'd') + "\"]", false},
  };
  for (const auto& c : cases) {
    const std::string input =
        R"({"id":"6b1e0000-0000-4000-8000-000000000001","members":)" + c.members + "}";
    EXPECT_EQ(Loads<GroupsManagerAgent::MemberChange>(input), c.loads) << c.members.substr(0, 80);
  }
  // The same members on a new group, which takes them only when it is local.
  EXPECT_TRUE(
      Loads<GroupsManagerAgent::NewGroup>(R"({"name":"S","kind":"local","members":["a@b"]})"));
  EXPECT_TRUE(Loads<GroupsManagerAgent::NewGroup>(
      R"({"name":"S","kind":"directory","dn":"CN=S","members":[]})"));
  EXPECT_FALSE(Loads<GroupsManagerAgent::NewGroup>(
      R"({"name":"S","kind":"directory","dn":"CN=S","members":["a@b"]})"));
  EXPECT_FALSE(Loads<GroupsManagerAgent::NewGroup>(
      R"({"name":"S","kind":"local","members":["a@b","nobody"]})"));
}

TEST(GroupsSchema, IdsOnlyInTheirWrittenForm) {
  const struct {
    const char* id;
    bool loads;
  } cases[] = {
      {"6b1e0000-0000-4000-8000-000000000001", true},
      {"{6B1E0000-0000-4000-8000-000000000001}", true},
      {"6b1e0000-0000-4000-8000-00000000001", false},    // a digit short
      {"6b1e0000-0000-4000-8000-0000000000012", false},  // a digit over
      {"6b1e0000-0000-4000-8000-00000000000g", false},
      {"6b1e0000+0000-4000-8000-000000000001", false},
      {"{6b1e0000-0000-4000-8000-000000000001", false},
      {"6b1e0000-0000-4000-8000-000000000001}", false},
      {"1-2-3-4-5", false},  // kel::Guid::Parse takes this
      {"", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Loads<GroupsManagerAgent::GroupRef>(std::string(R"({"id":")") + c.id + "\"}"),
              c.loads)
        << c.id;
  }
  EXPECT_FALSE(Loads<GroupsManagerAgent::GroupRef>(R"({"id":7})"));
  EXPECT_FALSE(Loads<GroupsManagerAgent::GroupRef>(R"({})"));

  const Json::Value braced = Parse(R"({"id":"{6B1E0000-0000-4000-8000-000000000001}"})");
  GroupsManagerAgent::GroupRef ref;
  ASSERT_TRUE(JsonSerializer<GroupsManagerAgent::GroupRef>::Load(JsonNodeRef(&braced), ref));
  EXPECT_EQ(ref.id, kId);
}

TEST(GroupsSchema, SynchronisationIdsAndPages) {
  const std::string id = "\"6b1e0000-0000-4000-8000-000000000001\"";
  const struct {
    std::string input;
    bool loads;
  } syncs[] = {
      {"{}", true},
      {R"({"ids":)" + Repeated(id, 1) + "}", true},
      {R"({"ids":)" + Repeated(id, GroupsManagerAgent::kMaxIdsPerRequest) + "}", true},
      // Present but empty would reach the plug-in as "every group".
      {R"({"ids":[]})", false},
      {R"({"ids":)" + Repeated(id, GroupsManagerAgent::kMaxIdsPerRequest + 1) + "}", false},
      {R"({"ids":null})", false},
      {R"({"ids":["1-2-3-4-5"]})", false},
  };
  for (const auto& c : syncs) {
    EXPECT_EQ(Loads<GroupsManagerAgent::SyncRequest>(c.input), c.loads) << c.input.substr(0, 80);
  }

  const struct {
    const char* input;
    bool loads;
  } pages[] = {
      {R"({"from":0,"count":0})", true},
      {R"({"from":4294967295,"count":1000})", true},
      {R"({"from":0,"count":1001})", false},
      {R"({"from":-1,"count":10})", false},
      {R"({"from":4294967296,"count":10})", false},
      {R"({"from":0,"count":-1})", false},
      {R"({"from":0,"count":2.0})", false},
      {R"({"from":"0","count":10})", false},
      {R"({"count":10})", false},
      {R"({"from":0})", false},
  };
  for (const auto& c : pages) {
    EXPECT_EQ(Loads<GroupsManagerAgent::PageRequest>(c.input), c.loads) << c.input;
  }
}

}  // namespace
