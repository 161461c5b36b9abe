// The groups agent against a recording plug-in: what each method hands the
// plug-in and answers, that bad input reaches nothing, that plug-in codes
// pass through without output, and that notifications become events.
// tests/host/groups*.jsonl drive the rest end to end through kelhost.
#include <gtest/gtest.h>

#include <cwchar>
#include <iterator>
#include <string>
#include <vector>

#include "frame/text_convert.h"
#include "groups/groups_agent.h"
#include "tests/agent/fakes.h"
#include "tests/agent/json_test_util.h"

namespace {

using json_test::Canonical;
using json_test::Compact;
using json_test::Parse;
using kel::test::FakePolicyMethod;
namespace sdk = kel::nusdk::MailServers::Groups;
using CallList = std::vector<std::string>;

std::string Text(const kel::StringW& text) {
  return kel::Utf8FromWide(text.c_str(), text.Length());
}
std::string Text(const kel::Guid& id) { return Text(id.ToString()); }
template <class T>
std::string Text(const kel::List<T>& list) {
  std::string out = "[";
  for (const T& item : list) out += (out.size() > 1 ? "," : "") + Text(item);
  return out + "]";
}
std::string Text(const sdk::GroupSettings& s) {
  return Text(s.name) + "|" + Text(s.description) + "|" + std::to_string(s.kind) + "|" +
         Text(s.directoryDn);
}

const kel::Guid kId{0x8000000000000001ull, 0x6b1e000000004000ull};
constexpr char kIdText[] = "6b1e0000-0000-4000-8000-000000000001";

// Records each call as text and answers `code`; getters fill what they give.
class RecordingGroups : public sdk::IGroups {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return this; }
  uint32_t AddGroup(const sdk::GroupSettings& settings, const kel::List<kel::StringW>& members,
                    kel::Guid& id) override {
    id = kId;
    return Note("AddGroup " + Text(settings) + " " + Text(members));
  }
  uint32_t UpdateGroup(const kel::Guid& id, const sdk::GroupSettings& settings) override {
    return Note("UpdateGroup " + Text(id) + " " + Text(settings));
  }
  uint32_t DeleteGroup(const kel::Guid& id) override { return Note("DeleteGroup " + Text(id)); }
  uint32_t GetGroup(const kel::Guid& id, sdk::Group& group) override {
    group.id = id;
    group.name = L"Sales";
    group.kind = sdk::kGroupLocal;
    group.members.EmplaceBack(L"a@x.test");
    group.memberCount = 1;
    return Note("GetGroup " + Text(id));
  }
  uint32_t GetGroups(uint32_t from, uint32_t count, uint64_t& totalCount,
                     kel::List<sdk::GroupInfo>& groups) override {
    totalCount = 7;
    sdk::GroupInfo info;
    info.id = kId;
    info.name = L"Sales";
    info.kind = sdk::kGroupDirectory;
    info.directoryDn = L"CN=Sales";
    groups.AddBack(info);
    return Note("GetGroups " + std::to_string(from) + " " + std::to_string(count));
  }
  uint32_t AddMembers(const kel::Guid& id, const kel::List<kel::StringW>& members) override {
    return Note("AddMembers " + Text(id) + " " + Text(members));
  }
  uint32_t RemoveMembers(const kel::Guid& id, const kel::List<kel::StringW>& members) override {
    return Note("RemoveMembers " + Text(id) + " " + Text(members));
  }
  uint32_t Synchronize(const kel::List<kel::Guid>& ids) override {
    return Note("Synchronize " + Text(ids));
  }
  uint32_t GetSyncStatus(sdk::SyncStatus& status) override {
    status.running = 1;
    status.started = 100;
    status.groups = 2;
    return Note("GetSyncStatus");
  }
  uint32_t RegisterNotifications(INotifications* s) override {
    sink = s;
    return Note("RegisterNotifications");
  }
  uint32_t UnregisterNotifications(INotifications* s) override {
    if (s == sink) sink = nullptr;
    return Note("UnregisterNotifications");
  }

  std::vector<std::string> calls;
  uint32_t code = 0;
  INotifications* sink = nullptr;

 private:
  uint32_t Note(std::string call) {
    calls.push_back(std::move(call));
    return code;
  }
};

class GroupsAgent : public ::testing::Test {
 protected:
  GroupsAgent() : main_(&components_), agent_(sdk::kComponentName) {
    components_.Offer(L"EndpointIntegration.Manager", EnterpriseIntegration::IID_IManager,
                      static_cast<EnterpriseIntegration::IManager*>(&manager_));
    components_.Offer(sdk::kComponentName, sdk::IID_IGroups, static_cast<sdk::IGroups*>(&plugin_));
  }
  void SetUp() override {
    ASSERT_EQ(agent_.Init(&main_), 0u);
    ASSERT_EQ(Calls(), CallList{"RegisterNotifications"});
  }

  uint32_t Run(const std::wstring& name, const std::string& input = "{}") {
    FakePolicyMethod method(name, Parse(input));
    agent_.RunPolicyMethod(&method);
    output_ = method.output;
    return method.result;
  }
  CallList Calls() {
    CallList calls;
    calls.swap(plugin_.calls);
    return calls;
  }

  kel::test::FakeComponentManager components_;
  kel::test::FakeServMain main_;
  kelhost::Manager manager_;
  RecordingGroups plugin_;
  GroupsManagerAgent::Agent agent_;
  Json::Value output_;
};

const std::string kIdInput = std::string(R"({"id":")") + kIdText + "\"}";

TEST_F(GroupsAgent, EachMethodHandsThePluginWhatItLoadedAndAnswersWhatItGave) {
  const struct {
    const wchar_t* method;
    std::string input;
    const char* call;
    const char* output;  // null: the output stays untouched
  } cases[] = {
      {L"AddGroup", R"({"name":"Sales","kind":"local","members":["a@x.test","b@x.test"]})",
       "AddGroup Sales||0| [a@x.test,b@x.test]",
       R"({"id":"6b1e0000-0000-4000-8000-000000000001"})"},
      {L"MailServers.Groups.addgroup",
       R"({"name":"Ops","description":"on call","kind":"directory","dn":"CN=Ops,DC=x"})",
       "AddGroup Ops|on call|1|CN=Ops,DC=x []", R"({"id":"6b1e0000-0000-4000-8000-000000000001"})"},
      {L"UpdateGroup",
       std::string(R"({"id":")") + kIdText + R"(","name":"Ops","kind":"directory","dn":"CN=Ops"})",
       "UpdateGroup 6b1e0000-0000-4000-8000-000000000001 Ops||1|CN=Ops", nullptr},
      {L"DeleteGroup", kIdInput, "DeleteGroup 6b1e0000-0000-4000-8000-000000000001", nullptr},
      {L"GetGroup", kIdInput, "GetGroup 6b1e0000-0000-4000-8000-000000000001",
       R"({"id":"6b1e0000-0000-4000-8000-000000000001","name":"Sales","description":"",
           "kind":"local","memberCount":1,"members":["a@x.test"]})"},
      {L"GetGroups", R"({"from":3,"count":2})", "GetGroups 3 2",
       R"({"totalCount":7,"groups":[{"id":"6b1e0000-0000-4000-8000-000000000001","name":"Sales",
           "description":"","kind":"directory","dn":"CN=Sales","memberCount":0}]})"},
      {L"AddMembers", std::string(R"({"id":")") + kIdText + R"(","members":["c@x.test"]})",
       "AddMembers 6b1e0000-0000-4000-8000-000000000001 [c@x.test]", nullptr},
      {L"RemoveMembers", std::string(R"({"id":")") + kIdText + R"(","members":[]})",
       "RemoveMembers 6b1e0000-0000-4000-8000-000000000001 []", nullptr},
      {L"SynchronizeWithAD", "{}", "Synchronize []", nullptr},
      {L"SynchronizeWithAD", std::string(R"({"ids":[")") + kIdText + "\"]}",
       "Synchronize [6b1e0000-0000-4000-8000-000000000001]", nullptr},
      {L"GetSyncStatus", "{}", "GetSyncStatus",
       R"({"running":true,"started":100,"groups":2,"synchronized":0,"failed":0})"},
  };
  for (const auto& c : cases) {
    const std::string name = kel::Utf8FromWide(c.method, std::wcslen(c.method));
    EXPECT_EQ(Run(c.method, c.input), 0u) << name;
    EXPECT_EQ(Calls(), CallList{c.call}) << name;
    EXPECT_EQ(Compact(output_), c.output ? Canonical(c.output) : "null") << name;
  }
}

TEST_F(GroupsAgent, BadInputAnswers160AndReachesNothing) {
  const std::string members10001 = [] {
    std::string list = "[";
    for (int i = 0; i <= 10000; ++i) list += (i ? ",\"u" : "\"u") + std::to_string(i) + "@x.test\"";
    return list + "]";
  }();
  const struct {
    const wchar_t* method;
    std::string input;
  } cases[] = {
      {L"AddGroup", "{}"},
      {L"AddGroup", R"({"name":"S","kind":"global"})"},
      {L"AddGroup", R"({"name":"S","kind":"directory"})"},
      {L"AddGroup", R"({"name":"S","kind":"local","dn":"CN=S"})"},
      {L"AddGroup", R"({"name":"S","kind":"directory","dn":"CN=S","members":["a@x"]})"},
      {L"AddGroup", R"({"name":"S","kind":"local","members":)" + members10001 + "}"},
      {L"AddGroup", R"(["name","S"])"},
      {L"UpdateGroup", R"({"name":"S","kind":"local"})"},
      {L"UpdateGroup", R"({"id":"1-2-3-4-5","name":"S","kind":"local"})"},
      {L"UpdateGroup", std::string(R"({"id":")") + kIdText + R"(","kind":"local"})"},
      {L"DeleteGroup", "{}"},
      {L"DeleteGroup", R"({"id":"6b1e0000-0000-4000-8000-00000000000x"})"},
      {L"GetGroup", R"({"id":null})"},
      {L"GetGroups", R"({"from":0})"},
      {L"GetGroups", R"({"from":0,"count":1001})"},
      {L"GetGroups", R"({"from":-1,"count":1})"},
      {L"AddMembers", kIdInput},
      {L"AddMembers", std::string(R"({"id":")") + kIdText + R"(","members":["not an address"]})"},
      {L"AddMembers", std::string(R"({"id":")") + kIdText + R"(","members":)" + members10001 + "}"},
      {L"RemoveMembers", R"({"members":["a@x.test"]})"},
      {L"RemoveMembers", std::string(R"({"id":")") + kIdText + R"(","members":"a@x.test"})"},
      {L"SynchronizeWithAD", R"({"ids":[]})"},
      {L"SynchronizeWithAD", R"({"ids":["6b1e0000-0000-4000-8000-000000000001","x"]})"},
      {L"SynchronizeWithAD", R"({"ids":"6b1e0000-0000-4000-8000-000000000001"})"},
  };
  for (const auto& c : cases) {
    const std::string name = kel::Utf8FromWide(c.method, std::wcslen(c.method));
    FakePolicyMethod method(c.method, Parse(c.input));
    agent_.RunPolicyMethod(&method);
    EXPECT_EQ(method.result, 160u) << name << " " << c.input.substr(0, 100);
    EXPECT_TRUE(method.output.isNull()) << name;
  }
  EXPECT_EQ(Calls(), CallList{});
}

TEST_F(GroupsAgent, PluginCodesPassThroughWithoutOutput) {
  const struct {
    const wchar_t* method;
    std::string input;
  } cases[] = {
      {L"AddGroup", R"({"name":"S","kind":"local"})"},
      {L"GetGroup", kIdInput},
      {L"GetGroups", R"({"from":0,"count":10})"},
      {L"GetSyncStatus", "{}"},
      {L"SynchronizeWithAD", "{}"},
      {L"DeleteGroup", kIdInput},
  };
  for (uint32_t code : {1168u, 170u, 5u}) {
    plugin_.code = code;
    for (const auto& c : cases) {
      const std::string name = kel::Utf8FromWide(c.method, std::wcslen(c.method));
      EXPECT_EQ(Run(c.method, c.input), code) << name;
      EXPECT_TRUE(output_.isNull()) << name;
    }
  }
  EXPECT_EQ(Calls().size(), 18u);
}

TEST_F(GroupsAgent, NotificationsBecomeTheFourEventsInOrder) {
  ASSERT_NE(plugin_.sink, nullptr);
  sdk::GroupSyncResult first;
  first.id = kId;
  first.name = L"Sales";
  first.directoryDn = L"CN=Sales";
  first.members = 2;
  sdk::GroupSyncResult second = first;
  second.name = L"Gone";
  second.directoryDn = L"CN=Gone";
  second.error = 1168;
  second.members = 0;

  EXPECT_EQ(plugin_.sink->OnSyncStarted(2), 0u);
  EXPECT_EQ(plugin_.sink->OnGroupSyncStarted(first), 0u);
  EXPECT_EQ(plugin_.sink->OnGroupSyncFinished(first), 0u);
  EXPECT_EQ(plugin_.sink->OnGroupSyncStarted(second), 0u);
  EXPECT_EQ(plugin_.sink->OnGroupSyncFinished(second), 0u);
  EXPECT_EQ(plugin_.sink->OnSyncFinished(sdk::SyncSummary{0, 1, 1}), 0u);

  const char* const expected[][2] = {
      {"MailServers.Groups.ADSyncStarted", R"({"groups":2})"},
      {"MailServers.Groups.ADGroupSyncStarted",
       R"({"id":"6b1e0000-0000-4000-8000-000000000001","name":"Sales","dn":"CN=Sales"})"},
      {"MailServers.Groups.ADGroupSyncFinished",
       R"({"id":"6b1e0000-0000-4000-8000-000000000001","name":"Sales","dn":"CN=Sales",
           "error":0,"members":2})"},
      {"MailServers.Groups.ADGroupSyncStarted",
       R"({"id":"6b1e0000-0000-4000-8000-000000000001","name":"Gone","dn":"CN=Gone"})"},
      {"MailServers.Groups.ADGroupSyncFinished",
       R"({"id":"6b1e0000-0000-4000-8000-000000000001","name":"Gone","dn":"CN=Gone",
           "error":1168,"members":0})"},
      {"MailServers.Groups.ADSyncFinished", R"({"error":0,"synchronized":1,"failed":1})"},
  };
  const std::vector<kelhost::ReceivedEvent> events = manager_.TakeEvents();
  ASSERT_EQ(events.size(), std::size(expected));
  for (size_t i = 0; i < events.size(); ++i) {
    EXPECT_EQ(events[i].name, expected[i][0]);
    EXPECT_EQ(events[i].flags, 0u);
    EXPECT_EQ(Compact(events[i].body), Canonical(expected[i][1])) << expected[i][0];
  }

  // The sink is the plug-in's until the agent lets go, and only then.
  agent_.Uninit();
  EXPECT_EQ(plugin_.sink, nullptr);
  EXPECT_EQ(Calls(), CallList{"UnregisterNotifications"});
}

TEST_F(GroupsAgent, ARefusedRegistrationFailsInitAndHoldsNothing) {
  agent_.Uninit();
  Calls();
  plugin_.code = 5;
  EXPECT_EQ(agent_.Init(&main_), 5u);
  EXPECT_EQ(components_.held[L"MailServers.Groups"], 0);
  EXPECT_EQ(components_.held[L"EndpointIntegration.Manager"], 0);
  EXPECT_EQ(Run(L"GetSyncStatus"), 21u);
  EXPECT_EQ(Calls(), CallList{"RegisterNotifications"});
}

}  // namespace
