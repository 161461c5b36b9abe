#include "groups/groups_agent.h"

#include "agent/policy_answer.h"
#include "groups/groups_schema.h"

namespace GroupsManagerAgent {
namespace {

using EnterpriseIntegration::Answer;
using EnterpriseIntegration::AnswerAt;
using EnterpriseIntegration::Handle;
using EnterpriseIntegration::JsonSerializer;
using EnterpriseIntegration::kBodyOf;
using EnterpriseIntegration::kInputOf;
using EnterpriseIntegration::kNoInput;
using EnterpriseIntegration::kNoOutput;
using EnterpriseIntegration::kOutputAt;
using EnterpriseIntegration::kOutputOf;
using EnterpriseIntegration::LoadInput;
namespace sdk = kel::nusdk::MailServers::Groups;

}  // namespace

Agent::Agent(const wchar_t* agentName)
    : EnterpriseIntegration::Agent<IGroups>(agentName, L"GroupsManagerAgent::Agent") {}

EnterpriseIntegration::PolicyMethodTable Agent::PolicyMethods() const {
  static constexpr EnterpriseIntegration::PolicyMethodEntry kMethods[] = {
      {L"AddGroup", Handle<&Agent::AddGroup>, kInputOf<NewGroup>, kOutputAt<keys::kId, kel::Guid>},
      {L"UpdateGroup", Handle<&Agent::UpdateGroup>, kInputOf<GroupUpdate>, kNoOutput},
      {L"DeleteGroup", Handle<&Agent::DeleteGroup>, kInputOf<GroupRef>, kNoOutput},
      {L"GetGroup", Handle<&Agent::GetGroup>, kInputOf<GroupRef>, kOutputOf<sdk::Group>},
      {L"GetGroups", Handle<&Agent::GetGroups>, kInputOf<PageRequest>, kOutputOf<GroupPage>},
      {L"AddMembers", Handle<&Agent::AddMembers>, kInputOf<MemberChange>, kNoOutput},
      {L"RemoveMembers", Handle<&Agent::RemoveMembers>, kInputOf<MemberChange>, kNoOutput},
      {L"SynchronizeWithAD", Handle<&Agent::SynchronizeWithAD>, kInputOf<SyncRequest>, kNoOutput},
      {L"GetSyncStatus", Handle<&Agent::GetSyncStatus>, kNoInput, kOutputOf<sdk::SyncStatus>},
  };
  return kMethods;
}

// The bodies SyncEvents sends, each through its structure's schema.
EnterpriseIntegration::EventTable Agent::Events() const {
  static constexpr EnterpriseIntegration::EventEntry kEvents[] = {
      {kSyncStartedEvent, kBodyOf<SyncStart>},
      {kGroupSyncStartedEvent, kBodyOf<sdk::GroupSyncInfo>},
      {kGroupSyncFinishedEvent, kBodyOf<sdk::GroupSyncResult>},
      {kSyncFinishedEvent, kBodyOf<sdk::SyncSummary>},
  };
  return kEvents;
}

bool Agent::AddGroup(IPolicyMethod& method) {
  NewGroup request;
  if (!LoadInput(method, request)) return false;
  kel::Guid id;
  const uint32_t code = plugin()->AddGroup(request.settings, request.members, id);
  AnswerAt(method, code, keys::kId, id);
  return true;
}

bool Agent::UpdateGroup(IPolicyMethod& method) {
  GroupUpdate request;
  if (!LoadInput(method, request)) return false;
  method.SetResult(plugin()->UpdateGroup(request.id, request.settings));
  return true;
}

bool Agent::DeleteGroup(IPolicyMethod& method) {
  GroupRef request;
  if (!LoadInput(method, request)) return false;
  method.SetResult(plugin()->DeleteGroup(request.id));
  return true;
}

bool Agent::GetGroup(IPolicyMethod& method) {
  GroupRef request;
  if (!LoadInput(method, request)) return false;
  sdk::Group group;
  const uint32_t code = plugin()->GetGroup(request.id, group);
  Answer(method, code, group);
  return true;
}

bool Agent::GetGroups(IPolicyMethod& method) {
  PageRequest request;
  if (!LoadInput(method, request)) return false;
  GroupPage page;
  const uint32_t code =
      plugin()->GetGroups(request.from, request.count, page.totalCount, page.groups);
  Answer(method, code, page);
  return true;
}

bool Agent::ChangeMembers(IPolicyMethod& method,
                          uint32_t (IGroups::*change)(const kel::Guid&,
                                                      const kel::List<kel::StringW>&)) {
  MemberChange request;
  if (!LoadInput(method, request)) return false;
  method.SetResult((plugin()->*change)(request.id, request.members));
  return true;
}

bool Agent::AddMembers(IPolicyMethod& method) {
  return ChangeMembers(method, &IGroups::AddMembers);
}

bool Agent::RemoveMembers(IPolicyMethod& method) {
  return ChangeMembers(method, &IGroups::RemoveMembers);
}

bool Agent::SynchronizeWithAD(IPolicyMethod& method) {
  SyncRequest request;
  if (!LoadInput(method, request)) return false;
  method.SetResult(plugin()->Synchronize(request.ids));
  return true;
}

bool Agent::GetSyncStatus(IPolicyMethod& method) {
  sdk::SyncStatus status;
  const uint32_t code = plugin()->GetSyncStatus(status);
  Answer(method, code, status);
  return true;
}

uint32_t Agent::OnPluginsAcquired() {
  return syncRegistration_.Register(plugin(), &IGroups::RegisterNotifications,
                                    &IGroups::UnregisterNotifications,
                                    static_cast<IGroups::INotifications*>(&syncEvents_));
}

void* Agent::SyncEvents::QueryInterface(const kel::InterfaceId* iid) {
  if (iid == nullptr) return nullptr;
  if (*iid == IID_IKelBaseInterface || *iid == sdk::IID_IGroupsNotifications)
    return static_cast<IGroups::INotifications*>(this);
  return nullptr;
}

template <class T>
void Agent::SyncEvents::Send(const wchar_t* event, const T& body) noexcept {
  // A body that cannot be written sends no event: half a report would read as
  // a whole one.
  try {
    Json::Value document;
    if (JsonSerializer<T>::Save(document, body)) agent_.SendEvent(event, document);
  } catch (...) {
  }
}

uint32_t Agent::SyncEvents::OnSyncStarted(uint32_t groups) {
  Send(kSyncStartedEvent, SyncStart{groups});
  return 0;
}

uint32_t Agent::SyncEvents::OnGroupSyncStarted(const sdk::GroupSyncInfo& group) {
  Send(kGroupSyncStartedEvent, group);
  return 0;
}

uint32_t Agent::SyncEvents::OnGroupSyncFinished(const sdk::GroupSyncResult& group) {
  Send(kGroupSyncFinishedEvent, group);
  return 0;
}

uint32_t Agent::SyncEvents::OnSyncFinished(const sdk::SyncSummary& summary) {
  Send(kSyncFinishedEvent, summary);
  return 0;
}

}  // namespace GroupsManagerAgent
