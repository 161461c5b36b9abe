#pragma once
// What the quarantine methods read from the console and the small records
// they answer with (items themselves are written by item_writer.h). Every
// request loads whole before a plug-in is called: a request that fails to
// load reaches no plug-in (160).
#include <cstdint>
#include <limits>

#include "agent/json/json_serializer.h"
#include "frame/list.h"
#include "frame/string.h"
#include "quarantine/item_names.h"
#include "sdk/mailservers/quarantine.h"

namespace QuarantineAgent {

// The most ids one call may name, and the largest page. A console selects
// what a person can see; a list longer than this is refused whole rather
// than handed to a plug-in that would hold its store for it.
inline constexpr uint64_t kMaxIdsPerCall = 10000;
inline constexpr int32_t kMaxPageSize = 10000;

struct ZoneRequest {
  q::Zone zone = q::kZoneEmails;
};

struct FolderRequest : ZoneRequest {
  kel::StringW folder;
  uint8_t migrateCurrentContent = 0;
};

struct DeleteRequest : ZoneRequest {
  kel::List<kel::StringW> ids;
  kel::StringW context;
};

struct SaveItemRequest : ZoneRequest {
  kel::StringW id;
  kel::StringW filePath;
  uint8_t deleteAfterSave = 0;
};

struct SaveToFolderRequest : ZoneRequest {
  kel::List<kel::StringW> ids;
  kel::StringW folder;
  uint8_t deleteAfterSave = 0;
};

struct ItemRequest : ZoneRequest {
  kel::StringW id;
};

// A page starts at 0 or later and holds at most kMaxPageSize items.
using PageStartCodec =
    EnterpriseIntegration::BoundedIntegerCodec<int32_t, 0, std::numeric_limits<int32_t>::max()>;
using PageSizeCodec = EnterpriseIntegration::BoundedIntegerCodec<int32_t, 0, kMaxPageSize>;

struct PageRequest : ZoneRequest {
  int32_t from = 0;
  int32_t count = 0;
};

struct IdsRequest : ZoneRequest {
  kel::List<kel::StringW> ids;
};

struct PurgeRequest : ZoneRequest {
  q::PurgeSettings settings;
};

// The console's release settings as sent: the keyword entries are still in
// the lists.
struct ReleaseRequest {
  kel::StringW user;
  kel::StringW password;
  kel::StringW subject;
  kel::StringW message;
  kel::List<kel::StringW> exclusionKeys;
  kel::List<kel::StringW> sendTo;
  kel::StringW email;
  kel::List<kel::StringW> ids;
  kel::StringW context;
};

struct ReplayRequest {
  kel::List<kel::StringW> ids;
  uint8_t deleteFromQuarantine = 0;
  kel::List<kel::StringW> exclusionKeys;
  kel::StringW context;
};

// Answers and event bodies that are not items (items: item_writer.h).
struct FolderAnswer : ZoneRequest {  // "GetFolder"
  kel::StringW folder;
};
struct PurgeAnswer : ZoneRequest {  // "GetPurgeSettings"
  q::PurgeSettings settings;
};
struct IdPage {  // "GetItemIds"
  uint64_t totalCount = 0;
  kel::List<kel::StringW> ids;
};
struct FolderChange : ZoneRequest {  // folder changed
  kel::StringW newLocation;
  uint8_t migratedOldContent = 0;
};
struct DeletedItems : ZoneRequest {  // deleted
  kel::List<q::IQuarantine::INotifications::DeletedItem> items;
};
struct Outcome {  // release and replay finished
  kel::StringW context;
  kel::List<q::IQuarantine::RestoredItem> items;
};

inline bool IdsWithinLimit(const kel::List<kel::StringW>& ids) {
  return ids.Count() <= kMaxIdsPerCall;
}

}  // namespace QuarantineAgent

namespace EnterpriseIntegration {

// clang-format off
template <>
struct JsonSchema<QuarantineAgent::ZoneRequest> : JsonSchemaBase<QuarantineAgent::ZoneRequest> {
  using S = QuarantineAgent::ZoneRequest;
  static constexpr auto kFields = Fields(
      Required("zone", &S::zone, QuarantineAgent::kZoneNames));
};

template <>
struct JsonSchema<QuarantineAgent::FolderRequest> : JsonSchemaBase<QuarantineAgent::FolderRequest> {
  using S = QuarantineAgent::FolderRequest;
  static constexpr auto kFields = Fields(
      InlineBase<QuarantineAgent::ZoneRequest>(),
      Required("folder",                &S::folder),
      Required("migrateCurrentContent", &S::migrateCurrentContent));
};

template <>
struct JsonSchema<QuarantineAgent::DeleteRequest> : JsonSchemaBase<QuarantineAgent::DeleteRequest> {
  using S = QuarantineAgent::DeleteRequest;
  static constexpr auto kFields = Fields(
      InlineBase<QuarantineAgent::ZoneRequest>(),
      Required("ids",     &S::ids),
      Required("context", &S::context));
  static constexpr char kCheckRule[] = "at most 10000 \"ids\".";
  static bool Check(const S& s) { return QuarantineAgent::IdsWithinLimit(s.ids); }
};

template <>
struct JsonSchema<QuarantineAgent::SaveItemRequest>
    : JsonSchemaBase<QuarantineAgent::SaveItemRequest> {
  using S = QuarantineAgent::SaveItemRequest;
  static constexpr auto kFields = Fields(
      InlineBase<QuarantineAgent::ZoneRequest>(),
      Required("id",       &S::id),
      Required("filePath", &S::filePath),
      Required("delete",   &S::deleteAfterSave));
};

template <>
struct JsonSchema<QuarantineAgent::SaveToFolderRequest>
    : JsonSchemaBase<QuarantineAgent::SaveToFolderRequest> {
  using S = QuarantineAgent::SaveToFolderRequest;
  static constexpr auto kFields = Fields(
      InlineBase<QuarantineAgent::ZoneRequest>(),
      Required("ids",    &S::ids),
      Required("folder", &S::folder),
      Required("delete", &S::deleteAfterSave));
  static constexpr char kCheckRule[] = "at most 10000 \"ids\".";
  static bool Check(const S& s) { return QuarantineAgent::IdsWithinLimit(s.ids); }
};

template <>
struct JsonSchema<QuarantineAgent::ItemRequest> : JsonSchemaBase<QuarantineAgent::ItemRequest> {
  using S = QuarantineAgent::ItemRequest;
  static constexpr auto kFields = Fields(
      InlineBase<QuarantineAgent::ZoneRequest>(),
      Required("id", &S::id));
};

template <>
struct JsonSchema<QuarantineAgent::PageRequest> : JsonSchemaBase<QuarantineAgent::PageRequest> {
  using S = QuarantineAgent::PageRequest;
  static constexpr auto kFields = Fields(
      InlineBase<QuarantineAgent::ZoneRequest>(),
      Required("from",  &S::from,  QuarantineAgent::PageStartCodec()),
      Required("count", &S::count, QuarantineAgent::PageSizeCodec()));
};

template <>
struct JsonSchema<QuarantineAgent::IdsRequest> : JsonSchemaBase<QuarantineAgent::IdsRequest> {
  using S = QuarantineAgent::IdsRequest;
  static constexpr auto kFields = Fields(
      InlineBase<QuarantineAgent::ZoneRequest>(),
      Required("ids", &S::ids));
  static constexpr char kCheckRule[] = "at most 10000 \"ids\".";
  static bool Check(const S& s) { return QuarantineAgent::IdsWithinLimit(s.ids); }
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Quarantine::PurgeSettings>
    : JsonSchemaBase<kel::nusdk::MailServers::Quarantine::PurgeSettings> {
  using S = kel::nusdk::MailServers::Quarantine::PurgeSettings;
  static constexpr auto kFields = Fields(
      Required("enabled",     &S::enabled),
      Required("age",         &S::age),
      Required("startDate",   &S::startDate),
      Required("runInterval", &S::runInterval));
};

template <>
struct JsonSchema<QuarantineAgent::PurgeRequest> : JsonSchemaBase<QuarantineAgent::PurgeRequest> {
  using S = QuarantineAgent::PurgeRequest;
  static constexpr auto kFields = Fields(
      InlineBase<QuarantineAgent::ZoneRequest>(),
      Inline(&S::settings));
};

// The settings in the order the console's contract reads them: the four
// texts, then the optional lists and address, then what to release.
template <>
struct JsonSchema<QuarantineAgent::ReleaseRequest>
    : JsonSchemaBase<QuarantineAgent::ReleaseRequest> {
  using S = QuarantineAgent::ReleaseRequest;
  static constexpr auto kFields = Fields(
      Required("user",          &S::user),
      Required("password",      &S::password),
      Required("subject",       &S::subject),
      Required("message",       &S::message),
      Optional("exclusionKeys", &S::exclusionKeys),
      Optional("sendTo",        &S::sendTo),
      Optional("email",         &S::email),
      Required("ids",           &S::ids),
      Required("context",       &S::context));
  static constexpr char kCheckRule[] = "at most 10000 \"ids\".";
  static bool Check(const S& s) { return QuarantineAgent::IdsWithinLimit(s.ids); }
};

template <>
struct JsonSchema<QuarantineAgent::ReplayRequest> : JsonSchemaBase<QuarantineAgent::ReplayRequest> {
  using S = QuarantineAgent::ReplayRequest;
  static constexpr auto kFields = Fields(
      Required("ids",                  &S::ids),
      Required("deleteFromQuarantine", &S::deleteFromQuarantine),
      Optional("exclusionKeys",        &S::exclusionKeys),
      Required("context",              &S::context));
  static constexpr char kCheckRule[] = "at most 10000 \"ids\".";
  static bool Check(const S& s) { return QuarantineAgent::IdsWithinLimit(s.ids); }
};

// Answer records, saved only.
template <>
struct JsonSchema<kel::nusdk::MailServers::Quarantine::IQuarantine::Error>
    : JsonSchemaBase<kel::nusdk::MailServers::Quarantine::IQuarantine::Error> {
  using S = kel::nusdk::MailServers::Quarantine::IQuarantine::Error;
  static constexpr auto kFields = Fields(
      Required("id",    &S::id),
      Required("error", &S::error));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Quarantine::IQuarantine::SavedItem>
    : JsonSchemaBase<kel::nusdk::MailServers::Quarantine::IQuarantine::SavedItem> {
  using S = kel::nusdk::MailServers::Quarantine::IQuarantine::SavedItem;
  static constexpr auto kFields = Fields(
      Required("filePath", &S::filePath),
      Required("id",       &S::id),
      Required("error",    &S::error));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Quarantine::IQuarantine::RestoredItem>
    : JsonSchemaBase<kel::nusdk::MailServers::Quarantine::IQuarantine::RestoredItem> {
  using S = kel::nusdk::MailServers::Quarantine::IQuarantine::RestoredItem;
  static constexpr auto kFields = Fields(
      Required("id",      &S::id),
      Required("error",   &S::error),
      Required("deleted", &S::deleted));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Quarantine::IQuarantine::INotifications::DeletedItem>
    : JsonSchemaBase<
          kel::nusdk::MailServers::Quarantine::IQuarantine::INotifications::DeletedItem> {
  using S = kel::nusdk::MailServers::Quarantine::IQuarantine::INotifications::DeletedItem;
  static constexpr auto kFields = Fields(
      Required("id",      &S::id),
      Required("context", &S::context));
};

template <>
struct JsonSchema<QuarantineAgent::FolderAnswer> : JsonSchemaBase<QuarantineAgent::FolderAnswer> {
  using S = QuarantineAgent::FolderAnswer;
  static constexpr auto kFields = Fields(
      InlineBase<QuarantineAgent::ZoneRequest>(),
      Required("folder", &S::folder));
};

template <>
struct JsonSchema<QuarantineAgent::PurgeAnswer> : JsonSchemaBase<QuarantineAgent::PurgeAnswer> {
  using S = QuarantineAgent::PurgeAnswer;
  static constexpr auto kFields = Fields(
      InlineBase<QuarantineAgent::ZoneRequest>(),
      Inline(&S::settings));
};

template <>
struct JsonSchema<QuarantineAgent::IdPage> : JsonSchemaBase<QuarantineAgent::IdPage> {
  using S = QuarantineAgent::IdPage;
  static constexpr auto kFields = Fields(
      Required("totalCount", &S::totalCount),
      Required("ids",        &S::ids));
};

template <>
struct JsonSchema<QuarantineAgent::FolderChange> : JsonSchemaBase<QuarantineAgent::FolderChange> {
  using S = QuarantineAgent::FolderChange;
  static constexpr auto kFields = Fields(
      InlineBase<QuarantineAgent::ZoneRequest>(),
      Required("newLocation",        &S::newLocation),
      Required("migratedOldContent", &S::migratedOldContent));
};

template <>
struct JsonSchema<QuarantineAgent::DeletedItems> : JsonSchemaBase<QuarantineAgent::DeletedItems> {
  using S = QuarantineAgent::DeletedItems;
  static constexpr auto kFields = Fields(
      InlineBase<QuarantineAgent::ZoneRequest>(),
      Required("items", &S::items));
};

template <>
struct JsonSchema<QuarantineAgent::Outcome> : JsonSchemaBase<QuarantineAgent::Outcome> {
  using S = QuarantineAgent::Outcome;
  static constexpr auto kFields = Fields(
      Required("context", &S::context),
      Required("items",   &S::items));
};
// clang-format on

}  // namespace EnterpriseIntegration
