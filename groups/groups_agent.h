#pragma once
// The manager's handle on the directory groups plug-in: groups of mail
// addresses that transport rules refer to, local or linked to a group of the
// organisation's directory, and the synchronisation of the linked ones.
//
// Singleton "MailServers.Groups.Agent"; agent name, plug-in component and
// method prefix "MailServers.Groups". Methods are found ignoring case, bare
// or behind the prefix ("MailServers.Groups.AddGroup"). Every input is
// loaded and checked whole before the plug-in is called: a missing key, a
// wrong type, an unknown "kind", an id not in the 8-4-4-4-12 form, a list or
// page over its limit (groups_schema.h) answer 160 and reach nothing. The
// plug-in's code is the method's result; output is written only on 0.
//
// clang-format off
// | method              | JSON in                                  | JSON out                    |
// |---------------------|------------------------------------------|-----------------------------|
// | "AddGroup"          | "name", "description"?, "kind", "dn"     | "id"                        |
// |                     | (directory), "members"? (local)          |                             |
// | "UpdateGroup"       | "id", "name", "description"?, "kind",    | none                        |
// |                     | "dn" (directory); members are kept       |                             |
// | "DeleteGroup"       | "id"                                     | none                        |
// | "GetGroup"          | "id"                                     | the group, with "members"   |
// | "GetGroups"         | "from", "count" (0..1000)                | "totalCount", "groups": the |
// |                     |                                          | groups without "members"    |
// | "AddMembers"        | "id", "members" (local groups)           | none                        |
// | "RemoveMembers"     | "id", "members" (local groups)           | none                        |
// | "SynchronizeWithAD" | "ids"? (1..1000; absent: every directory | none; the run reports by    |
// |                     | group)                                   | events                      |
// | "GetSyncStatus"     | none                                     | "running"; once a run has   |
// |                     |                                          | started "started", "groups",|
// |                     |                                          | "synchronized", "failed";   |
// |                     |                                          | once one has finished       |
// |                     |                                          | "finished", "error"         |
// clang-format on
//
// A group: {"id", "name", "description", "kind": "local" | "directory",
// "dn" (directory groups), "memberCount", "lastSync": {"time", "error"}
// (directory groups once synchronised), "members": [addresses] (GetGroup)}.
// Times are seconds since 1970 UTC; errors are Win32 codes. "members" holds
// 0..10000 addresses "local@domain"; "name" 1..256 characters,
// "description" up to 1024, "dn" 3..2048 with an "=".
//
// Events, from the plug-in's synchronisation notifications, flags 0, in the
// order the plug-in raises them (one run: started, then a started and a
// finished per group, then finished):
//
// clang-format off
// | slot | notification        | event                                    | JSON                 |
// |------|---------------------|------------------------------------------|----------------------|
// | 1    | OnSyncStarted       | "MailServers.Groups.ADSyncStarted"       | "groups": how many   |
// |      |                     |                                          | the run takes        |
// | 2    | OnGroupSyncStarted  | "MailServers.Groups.ADGroupSyncStarted"  | "id", "name", "dn"   |
// | 3    | OnGroupSyncFinished | "MailServers.Groups.ADGroupSyncFinished" | "id", "name", "dn",  |
// |      |                     |                                          | "error", "members":  |
// |      |                     |                                          | the count after it   |
// | 4    | OnSyncFinished      | "MailServers.Groups.ADSyncFinished"      | "error",             |
// |      |                     |                                          | "synchronized",      |
// |      |                     |                                          | "failed"             |
// clang-format on
#include "agent/agent.h"
#include "groups/groups_plugin.h"
#include "sdk/mailservers/groups.h"
#include "sdk/policy_method.h"

namespace GroupsManagerAgent {

inline constexpr wchar_t kSyncStartedEvent[] = L"MailServers.Groups.ADSyncStarted";
inline constexpr wchar_t kSyncFinishedEvent[] = L"MailServers.Groups.ADSyncFinished";
inline constexpr wchar_t kGroupSyncStartedEvent[] = L"MailServers.Groups.ADGroupSyncStarted";
inline constexpr wchar_t kGroupSyncFinishedEvent[] = L"MailServers.Groups.ADGroupSyncFinished";

class Agent final : public EnterpriseIntegration::Agent<kel::nusdk::MailServers::Groups::IGroups> {
 public:
  // `agentName` is "MailServers.Groups": the plug-in's name and the method prefix.
  explicit Agent(const wchar_t* agentName);

  bool AddGroup(IPolicyMethod& method);
  bool UpdateGroup(IPolicyMethod& method);
  bool DeleteGroup(IPolicyMethod& method);
  bool GetGroup(IPolicyMethod& method);
  bool GetGroups(IPolicyMethod& method);
  bool AddMembers(IPolicyMethod& method);
  bool RemoveMembers(IPolicyMethod& method);
  bool SynchronizeWithAD(IPolicyMethod& method);
  bool GetSyncStatus(IPolicyMethod& method);

  EnterpriseIntegration::PolicyMethodTable PolicyMethods() const override;
  EnterpriseIntegration::EventTable Events() const override;

 private:
  using IGroups = kel::nusdk::MailServers::Groups::IGroups;

  // The sink the plug-in's synchronisation reports to; each notification
  // becomes one event. On the plug-in's thread: no lock, always 0.
  class SyncEvents final : public IGroups::INotifications {
   public:
    explicit SyncEvents(Agent& agent) : agent_(agent) {}
    void* QueryInterface(const kel::InterfaceId* iid) override;
    uint32_t OnSyncStarted(uint32_t groups) override;
    uint32_t OnGroupSyncStarted(
        const kel::nusdk::MailServers::Groups::GroupSyncInfo& group) override;
    uint32_t OnGroupSyncFinished(
        const kel::nusdk::MailServers::Groups::GroupSyncResult& group) override;
    uint32_t OnSyncFinished(const kel::nusdk::MailServers::Groups::SyncSummary& summary) override;

   private:
    template <class T>
    void Send(const wchar_t* event, const T& body) noexcept;

    Agent& agent_;
  };

  uint32_t OnPluginsAcquired() override;
  bool ChangeMembers(IPolicyMethod& method,
                     uint32_t (IGroups::*change)(const kel::Guid&, const kel::List<kel::StringW>&));

  SyncEvents syncEvents_{*this};
  // Last: unregistered before the sink it names goes away.
  EnterpriseIntegration::NotificationRegistration syncRegistration_{*this};
};

}  // namespace GroupsManagerAgent
