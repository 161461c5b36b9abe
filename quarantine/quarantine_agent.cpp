#include "quarantine/quarantine_agent.h"

#include <utility>

#include "agent/keyword_entries.h"
#include "agent/policy_answer.h"
#include "frame/logging/log.h"
#include "quarantine/item_writer.h"
#include "quarantine/quarantine_requests.h"

namespace QuarantineAgent {

// Every handler has one shape: the whole request loads or the handler answers
// false (160) without calling a plug-in; otherwise the plug-in's code is the
// result, and only a 0 writes the output (an output that cannot be written
// answers 1359 and is cleared).
using EnterpriseIntegration::Answer;
using EnterpriseIntegration::AnswerAt;
using EnterpriseIntegration::AnswerWith;
using EnterpriseIntegration::Handle;
using EnterpriseIntegration::JsonSerializer;
using EnterpriseIntegration::kBodyOf;
using EnterpriseIntegration::kInputOf;
using EnterpriseIntegration::kNoOutput;
using EnterpriseIntegration::kOutputAt;
using EnterpriseIntegration::kOutputOf;
using EnterpriseIntegration::LoadInput;
using EnterpriseIntegration::SplitKeywords;
using q::Zone;

namespace {

constexpr char kErrorsKey[] = "errors";
constexpr char kItemsKey[] = "items";

// A full item owns a part tree that came from outside: it is let go of
// without recursion, however deep.
struct FullItem {
  DataEx item;
  ~FullItem() { ReleaseChildParts(item.mainPart); }
};

// An answer made of items: nothing of it is written when an item cannot be
// written whole (item_writer.h).
template <class Items>
void AnswerItems(IPolicyMethod& method, uint32_t code, const Items& items) {
  AnswerWith(method, code, [&items](Json::Value& document) {
    return ItemsWritable(items.items) && JsonSerializer<Items>::Save(document, items);
  });
}

}  // namespace

Agent::Agent(const wchar_t* agentName)
    : EnterpriseIntegration::Agent<IQuarantine>(agentName, L"QuarantineAgent::Agent"),
      release_(DeclarePlugin<IReleaseEmail>(
          kel::nusdk::MailServers::Quarantine::kReleaseEmailComponentName)) {}

EnterpriseIntegration::PolicyMethodTable Agent::PolicyMethods() const {
  static constexpr EnterpriseIntegration::PolicyMethodEntry kMethods[] = {
      {L"GetFolder", Handle<&Agent::GetFolder>, kInputOf<ZoneRequest>, kOutputOf<FolderAnswer>},
      {L"SetFolder", Handle<&Agent::SetFolder>, kInputOf<FolderRequest>, kNoOutput},
      {L"DeleteItems", Handle<&Agent::DeleteItems>, kInputOf<DeleteRequest>,
       kOutputAt<kErrorsKey, kel::List<IQuarantine::Error>>},
      {L"SaveItem", Handle<&Agent::SaveItem>, kInputOf<SaveItemRequest>, kNoOutput},
      {L"SaveItemsToFolder", Handle<&Agent::SaveItemsToFolder>, kInputOf<SaveToFolderRequest>,
       kOutputAt<kItemsKey, kel::List<IQuarantine::SavedItem>>},
      {L"GetItemQuick", Handle<&Agent::GetItemQuick>, kInputOf<ItemRequest>, kOutputOf<Data>},
      {L"GetItemFull", Handle<&Agent::GetItemFull>, kInputOf<ItemRequest>, kOutputOf<DataEx>},
      {L"GetItemsQuick", Handle<&Agent::GetItemsQuick>, kInputOf<PageRequest>,
       kOutputOf<ItemPage<Data>>},
      {L"GetItemsFull", Handle<&Agent::GetItemsFull>, kInputOf<PageRequest>,
       kOutputOf<ItemPage<DataEx>>},
      {L"GetItemIds", Handle<&Agent::GetItemIds>, kInputOf<PageRequest>, kOutputOf<IdPage>},
      {L"GetItemsByIdQuick", Handle<&Agent::GetItemsByIdQuick>, kInputOf<IdsRequest>,
       kOutputOf<ItemsFound<Data>>},
      {L"GetItemsByIdFull", Handle<&Agent::GetItemsByIdFull>, kInputOf<IdsRequest>,
       kOutputOf<ItemsFound<DataEx>>},
      {L"Empty", Handle<&Agent::Empty>, kInputOf<ZoneRequest>, kNoOutput},
      {L"SetPurgeSettings", Handle<&Agent::SetPurgeSettings>, kInputOf<PurgeRequest>, kNoOutput},
      {L"GetPurgeSettings", Handle<&Agent::GetPurgeSettings>, kInputOf<ZoneRequest>,
       kOutputOf<PurgeAnswer>},
      {L"Purge", Handle<&Agent::Purge>, kInputOf<ZoneRequest>, kNoOutput},
      {L"ReleaseEmails", Handle<&Agent::ReleaseEmails>, kInputOf<ReleaseRequest>, kNoOutput},
      {L"ReplayEmails", Handle<&Agent::ReplayEmails>, kInputOf<ReplayRequest>, kNoOutput},
  };
  return kMethods;
}

// Sent by the notification sinks below, each body through its structure.
EnterpriseIntegration::EventTable Agent::Events() const {
  static constexpr EnterpriseIntegration::EventEntry kEvents[] = {
      {kAddedEvent, kBodyOf<AddedItems>},
      {kDeletedEvent, kBodyOf<DeletedItems>},
      {kFolderChangedEvent, kBodyOf<FolderChange>},
      {kEmptyEvent, kBodyOf<ZoneRequest>},
      {kPurgeSettingsChangedEvent, kBodyOf<ZoneRequest>},
      {kReleaseEmailsEvent, kBodyOf<Outcome>},
      {kReplayEmailsEvent, kBodyOf<Outcome>},
  };
  return kEvents;
}

uint32_t Agent::OnPluginsAcquired() {
  // The release service learns of its sink here, once, rather than with each
  // request.
  if (const uint32_t code = storeAdvice_.RegisterWith(
          [this] { return plugin()->RegisterNotifications(&storeSink_, nullptr); },
          [plugin = plugin(), sink = &storeSink_] {
            plugin->UnregisterNotifications(sink, nullptr);
          }))
    return code;
  return releaseAdvice_.Register(release_.get(), &IReleaseEmail::RegisterNotifications,
                                 &IReleaseEmail::UnregisterNotifications,
                                 static_cast<IReleaseEmail::INotifications*>(&releaseSink_));
}

void Agent::OnRequiredPluginMissing(const kel::StringW& component) {
  logging::Write(logging::kLevelFailure, Qualified(L"Init").c_str(), L"Could not get plug in %s",
                 component.c_str());
}

// ---- the store's folder ----

bool Agent::GetFolder(IPolicyMethod& method) {
  ZoneRequest request;
  if (!LoadInput(method, request)) return false;
  FolderAnswer answer;
  answer.zone = request.zone;
  Answer(method, plugin()->GetFolder(request.zone, answer.folder), answer);
  return true;
}

bool Agent::SetFolder(IPolicyMethod& method) {
  FolderRequest request;
  if (!LoadInput(method, request)) return false;
  method.SetResult(
      plugin()->SetFolder(request.zone, request.folder, request.migrateCurrentContent));
  return true;
}

// ---- deleting and saving ----

bool Agent::DeleteItems(IPolicyMethod& method) {
  DeleteRequest request;
  if (!LoadInput(method, request)) return false;
  kel::List<IQuarantine::Error> errors;
  const uint32_t code = plugin()->DeleteItems(request.zone, request.ids, request.context, errors);
  AnswerAt(method, code, kErrorsKey, errors);
  return true;
}

bool Agent::SaveItem(IPolicyMethod& method) {
  SaveItemRequest request;
  if (!LoadInput(method, request)) return false;
  method.SetResult(
      plugin()->SaveItem(request.zone, request.id, request.filePath, request.deleteAfterSave));
  return true;
}

bool Agent::SaveItemsToFolder(IPolicyMethod& method) {
  SaveToFolderRequest request;
  if (!LoadInput(method, request)) return false;
  kel::List<IQuarantine::SavedItem> saved;
  const uint32_t code = plugin()->SaveItemsToFolder(request.zone, request.ids, request.folder,
                                                    request.deleteAfterSave, saved);
  AnswerAt(method, code, kItemsKey, saved);
  return true;
}

// ---- reading items ----

bool Agent::GetItemQuick(IPolicyMethod& method) {
  ItemRequest request;
  if (!LoadInput(method, request)) return false;
  Data item;
  const uint32_t code = plugin()->GetItem(request.zone, request.id, item);
  AnswerWith(method, code, [&](Json::Value& document) { return WriteItem(item, document); });
  return true;
}

bool Agent::GetItemFull(IPolicyMethod& method) {
  ItemRequest request;
  if (!LoadInput(method, request)) return false;
  FullItem full;
  const uint32_t code = plugin()->GetItemEx(request.zone, request.id, full.item);
  AnswerWith(method, code, [&](Json::Value& document) { return WriteItem(full.item, document); });
  return true;
}

bool Agent::GetItemsQuick(IPolicyMethod& method) {
  PageRequest request;
  if (!LoadInput(method, request)) return false;
  ItemPage<Data> page;
  const uint32_t code =
      plugin()->GetItems(request.zone, static_cast<uint32_t>(request.from),
                         static_cast<uint32_t>(request.count), page.totalCount, page.items);
  AnswerItems(method, code, page);
  return true;
}

bool Agent::GetItemsFull(IPolicyMethod& method) {
  PageRequest request;
  if (!LoadInput(method, request)) return false;
  ItemPage<DataEx> page;
  const uint32_t code =
      plugin()->GetItemsEx(request.zone, static_cast<uint32_t>(request.from),
                           static_cast<uint32_t>(request.count), page.totalCount, page.items);
  AnswerItems(method, code, page);
  return true;
}

bool Agent::GetItemIds(IPolicyMethod& method) {
  PageRequest request;
  if (!LoadInput(method, request)) return false;
  IdPage page;
  const uint32_t code =
      plugin()->GetItemIds(request.zone, static_cast<uint32_t>(request.from),
                           static_cast<uint32_t>(request.count), page.totalCount, page.ids);
  Answer(method, code, page);
  return true;
}

bool Agent::GetItemsByIdQuick(IPolicyMethod& method) {
  IdsRequest request;
  if (!LoadInput(method, request)) return false;
  ItemsFound<Data> found;
  const uint32_t code =
      plugin()->GetItemsById(request.zone, request.ids, found.items, found.errors);
  AnswerItems(method, code, found);
  return true;
}

bool Agent::GetItemsByIdFull(IPolicyMethod& method) {
  IdsRequest request;
  if (!LoadInput(method, request)) return false;
  ItemsFound<DataEx> found;
  const uint32_t code =
      plugin()->GetItemsByIdEx(request.zone, request.ids, found.items, found.errors);
  AnswerItems(method, code, found);
  return true;
}

// ---- emptying and purging ----

bool Agent::Empty(IPolicyMethod& method) {
  ZoneRequest request;
  if (!LoadInput(method, request)) return false;
  method.SetResult(plugin()->Empty(request.zone));
  return true;
}

bool Agent::SetPurgeSettings(IPolicyMethod& method) {
  PurgeRequest request;
  if (!LoadInput(method, request)) return false;
  method.SetResult(plugin()->SetPurgeSettings(request.zone, request.settings));
  return true;
}

bool Agent::GetPurgeSettings(IPolicyMethod& method) {
  ZoneRequest request;
  if (!LoadInput(method, request)) return false;
  PurgeAnswer answer;
  answer.zone = request.zone;
  Answer(method, plugin()->GetPurgeSettings(request.zone, answer.settings), answer);
  return true;
}

bool Agent::Purge(IPolicyMethod& method) {
  ZoneRequest request;
  if (!LoadInput(method, request)) return false;
  q::PurgeSettings settings;
  uint32_t code = plugin()->GetPurgeSettings(request.zone, settings);
  if (code == kel::result::kSuccess) code = plugin()->Purge(request.zone, settings);
  method.SetResult(code);
  return true;
}

// ---- release and replay ----

bool Agent::ReleaseEmails(IPolicyMethod& method) {
  ReleaseRequest request;
  if (!LoadInput(method, request)) return false;
  q::ReleaseSettings settings;
  settings.user = request.user;
  settings.password = request.password;
  settings.subject = request.subject;
  settings.message = request.message;
  settings.email = request.email;
  SplitKeywords(
      request.exclusionKeys,
      {{L"<local>", &settings.excludeLocalKeys}, {L"<domain>", &settings.excludeDomainKeys}},
      settings.exclusionKeys);
  SplitKeywords(request.sendTo, {{L"<original>", &settings.sendToOriginalRecipients}},
                settings.recipients);
  method.SetResult(release_->ReleaseEmails(request.ids, settings, request.context));
  return true;
}

bool Agent::ReplayEmails(IPolicyMethod& method) {
  ReplayRequest request;
  if (!LoadInput(method, request)) return false;
  kel::List<kel::StringW> keys;
  uint8_t excludeLocal = 0;
  uint8_t excludeDomain = 0;
  SplitKeywords(request.exclusionKeys, {{L"<local>", &excludeLocal}, {L"<domain>", &excludeDomain}},
                keys);
  method.SetResult(release_->ReplayEmails(request.ids, request.deleteFromQuarantine, keys,
                                          excludeLocal, excludeDomain, request.context));
  return true;
}

// ---- notifications ----

namespace {

// Builds the body with `write`; nothing is sent unless all of it was written.
template <class Write>
void SendWritten(Agent& agent, const wchar_t* event, Write&& write) noexcept {
  try {
    Json::Value body(Json::objectValue);
    if (write(body)) agent.SendEvent(event, body);
  } catch (...) {
  }
}

// `body` through its structure, the type Events() lists for `event`.
template <class T>
void SendBody(Agent& agent, const wchar_t* event, const T& body) noexcept {
  SendWritten(agent, event,
              [&body](Json::Value& document) { return JsonSerializer<T>::Save(document, body); });
}

ZoneRequest InZone(Zone zone) {
  ZoneRequest body;
  body.zone = zone;
  return body;
}

}  // namespace

void* Agent::StoreSink::QueryInterface(const kel::InterfaceId* iid) {
  if (iid && (*iid == IID_IKelBaseInterface ||
              *iid == kel::nusdk::MailServers::Quarantine::IID_IQuarantineNotifications))
    return static_cast<IQuarantine::INotifications*>(this);
  return nullptr;
}

uint32_t Agent::StoreSink::OnItemsAdded(Zone zone, const kel::List<kel::StringW>& ids) {
  // The event carries the items as they are stored now; ids the store can no
  // longer read (deleted meanwhile) are left out.
  SendWritten(agent_, kAddedEvent, [&](Json::Value& body) {
    IQuarantine* store = agent_.plugin();
    if (!store) return false;
    AddedItems added;
    added.zone = zone;
    kel::List<IQuarantine::Error> errors;
    if (store->GetItemsById(zone, ids, added.items, errors) != kel::result::kSuccess) return false;
    // A zone without a name, or an item that cannot be written, sends nothing.
    return kZoneNames.view().FindCode(static_cast<uint32_t>(zone)) != nullptr &&
           ItemsWritable(added.items) && JsonSerializer<AddedItems>::Save(body, added);
  });
  return 0;
}

uint32_t Agent::StoreSink::OnItemsDeleted(Zone zone, const kel::List<DeletedItem>& items) {
  DeletedItems body;
  body.zone = zone;
  body.items = items;
  SendBody(agent_, kDeletedEvent, body);
  return 0;
}

uint32_t Agent::StoreSink::OnFolderChanged(Zone zone, uint8_t migratedOldContent) {
  try {
    IQuarantine* store = agent_.plugin();
    FolderChange body;
    body.zone = zone;
    body.migratedOldContent = migratedOldContent;
    if (store && store->GetFolder(zone, body.newLocation) == kel::result::kSuccess)
      SendBody(agent_, kFolderChangedEvent, body);
  } catch (...) {
  }
  return 0;
}

uint32_t Agent::StoreSink::OnEmptied(Zone zone) {
  SendBody(agent_, kEmptyEvent, InZone(zone));
  return 0;
}

uint32_t Agent::StoreSink::OnPurgeSettingsChanged(Zone zone) {
  SendBody(agent_, kPurgeSettingsChangedEvent, InZone(zone));
  return 0;
}

void* Agent::ReleaseSink::QueryInterface(const kel::InterfaceId* iid) {
  if (iid && (*iid == IID_IKelBaseInterface ||
              *iid == kel::nusdk::MailServers::Quarantine::IID_IReleaseEmailNotifications))
    return static_cast<IReleaseEmail::INotifications*>(this);
  return nullptr;
}

namespace {

void SendOutcome(Agent& agent, const wchar_t* event, const kel::StringW& context,
                 const kel::List<IQuarantine::RestoredItem>& items) {
  try {
    Outcome body;
    body.context = context;
    body.items = items;
    SendBody(agent, event, body);
  } catch (...) {
  }
}

}  // namespace

uint32_t Agent::ReleaseSink::OnReleaseFinished(const kel::StringW& context,
                                               const kel::List<IQuarantine::RestoredItem>& items) {
  SendOutcome(agent_, kReleaseEmailsEvent, context, items);
  return 0;
}

uint32_t Agent::ReleaseSink::OnReplayFinished(const kel::StringW& context,
                                              const kel::List<IQuarantine::RestoredItem>& items) {
  SendOutcome(agent_, kReplayEmailsEvent, context, items);
  return 0;
}

}  // namespace QuarantineAgent
