// The slot orders of the groups plug-in and of the agent's sink, against a
// recording plug-in. Init, bad input, what each method hands the reference
// plug-in, its codes passed through and the events of a run are proven end
// to end in tests/host/groups*.jsonl.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "groups/groups_agent.h"
#include "tests/agent/fakes.h"
#include "tests/support/vtable.h"

namespace {

namespace sdk = kel::nusdk::MailServers::Groups;
using CallList = std::vector<std::string>;

// Records which operations were called and answers `code`.
class RecordingGroups : public sdk::IGroups {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return this; }
  uint32_t AddGroup(const sdk::GroupSettings&, const kel::List<kel::StringW>&,
                    kel::Guid&) override {
    return Note("AddGroup");
  }
  uint32_t UpdateGroup(const kel::Guid&, const sdk::GroupSettings&) override {
    return Note("UpdateGroup");
  }
  uint32_t DeleteGroup(const kel::Guid&) override { return Note("DeleteGroup"); }
  uint32_t GetGroup(const kel::Guid&, sdk::Group&) override { return Note("GetGroup"); }
  uint32_t GetGroups(uint32_t, uint32_t, uint64_t&, kel::List<sdk::GroupInfo>&) override {
    return Note("GetGroups");
  }
  uint32_t AddMembers(const kel::Guid&, const kel::List<kel::StringW>&) override {
    return Note("AddMembers");
  }
  uint32_t RemoveMembers(const kel::Guid&, const kel::List<kel::StringW>&) override {
    return Note("RemoveMembers");
  }
  uint32_t Synchronize(const kel::List<kel::Guid>&) override { return Note("Synchronize"); }
  uint32_t GetSyncStatus(sdk::SyncStatus&) override { return Note("GetSyncStatus"); }
  uint32_t RegisterNotifications(INotifications* registered) override {
    sink = registered;
    return Note("RegisterNotifications");
  }
  uint32_t UnregisterNotifications(INotifications*) override {
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
};

TEST_F(GroupsAgent, SlotOrderOfThePluginAndOfTheSink) {
  using kel::test::CallSlot;
  sdk::IGroups* object = &plugin_;
  sdk::GroupSettings settings;
  kel::List<kel::StringW> members;
  kel::List<kel::Guid> ids;
  kel::Guid id;
  sdk::Group group;
  uint64_t total = 0;
  kel::List<sdk::GroupInfo> page;
  sdk::SyncStatus status;
  CallSlot<uint32_t>(object, 1, &settings, &members, &id);
  CallSlot<uint32_t>(object, 2, &id, &settings);
  CallSlot<uint32_t>(object, 3, &id);
  CallSlot<uint32_t>(object, 4, &id, &group);
  CallSlot<uint32_t>(object, 5, 0u, 10u, &total, &page);
  CallSlot<uint32_t>(object, 6, &id, &members);
  CallSlot<uint32_t>(object, 7, &id, &members);
  CallSlot<uint32_t>(object, 8, &ids);
  CallSlot<uint32_t>(object, 9, &status);
  CallSlot<uint32_t>(object, 11, plugin_.sink);
  CallSlot<uint32_t>(object, 10, plugin_.sink);
  EXPECT_EQ(Calls(), (CallList{"AddGroup", "UpdateGroup", "DeleteGroup", "GetGroup", "GetGroups",
                               "AddMembers", "RemoveMembers", "Synchronize", "GetSyncStatus",
                               "UnregisterNotifications", "RegisterNotifications"}));

  ASSERT_NE(plugin_.sink, nullptr);
  sdk::GroupSyncResult result;
  sdk::SyncSummary summary;
  EXPECT_EQ(CallSlot<uint32_t>(plugin_.sink, 1, 3u), 0u);
  EXPECT_EQ(CallSlot<uint32_t>(plugin_.sink, 2, &result), 0u);
  EXPECT_EQ(CallSlot<uint32_t>(plugin_.sink, 3, &result), 0u);
  EXPECT_EQ(CallSlot<uint32_t>(plugin_.sink, 4, &summary), 0u);
  std::vector<std::string> names;
  for (const kelhost::ReceivedEvent& event : manager_.TakeEvents()) names.push_back(event.name);
  EXPECT_EQ(names,
            (std::vector<std::string>{
                "MailServers.Groups.ADSyncStarted", "MailServers.Groups.ADGroupSyncStarted",
                "MailServers.Groups.ADGroupSyncFinished", "MailServers.Groups.ADSyncFinished"}));
}

}  // namespace
