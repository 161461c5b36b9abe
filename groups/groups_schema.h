#pragma once
// The JSON forms of the groups agent: a group as answered, the inputs of its
// methods, and the bodies of its synchronisation events. Inputs are checked
// here, whole, before anything reaches the plug-in: names, texts and
// addresses by length and shape, ids by their exact text form, lists and
// pages by size.
#include <cstddef>
#include <cstdint>
#include <utility>

#include "agent/json/json_schema_writer.h"
#include "agent/json/json_serializer.h"
#include "frame/guid.h"
#include "frame/list.h"
#include "frame/string.h"
#include "sdk/mailservers/groups.h"

namespace GroupsManagerAgent {

// The keys of the agent's documents (lower camel case, as every key of the
// module).
namespace keys {
inline constexpr char kCount[] = "count";
inline constexpr char kDescription[] = "description";
inline constexpr char kDn[] = "dn";
inline constexpr char kError[] = "error";
inline constexpr char kFailed[] = "failed";
inline constexpr char kFinished[] = "finished";
inline constexpr char kFrom[] = "from";
inline constexpr char kGroups[] = "groups";
inline constexpr char kId[] = "id";
inline constexpr char kIds[] = "ids";
inline constexpr char kKind[] = "kind";
inline constexpr char kLastSync[] = "lastSync";
inline constexpr char kMemberCount[] = "memberCount";
inline constexpr char kMembers[] = "members";
inline constexpr char kName[] = "name";
inline constexpr char kRunning[] = "running";
inline constexpr char kStarted[] = "started";
inline constexpr char kSynchronized[] = "synchronized";
inline constexpr char kTime[] = "time";
inline constexpr char kTotalCount[] = "totalCount";
}  // namespace keys

// Input limits. A request beyond them is refused whole (160); the console
// splits larger changes.
inline constexpr size_t kMaxNameLength = 256;
inline constexpr size_t kMaxDescriptionLength = 1024;
inline constexpr size_t kMaxDnLength = 2048;
inline constexpr size_t kMaxAddressLength = 320;  // 64 local + "@" + 255 domain
inline constexpr size_t kMaxMembersPerRequest = 10000;
inline constexpr size_t kMaxIdsPerRequest = 1000;
inline constexpr uint32_t kMaxPageCount = 1000;

inline constexpr auto kKindNames = EnterpriseIntegration::EnumNames({
    {kel::nusdk::MailServers::Groups::kGroupLocal, "local"},
    {kel::nusdk::MailServers::Groups::kGroupDirectory, "directory"},
});

// ---- Conversions with the checks of the agent's inputs ----

// A string of `Min` to `Max` characters (UTF-16 units, as the plug-in keeps them).
template <size_t Min, size_t Max>
struct TextCodec : EnterpriseIntegration::JsonCodec {
  bool Load(const EnterpriseIntegration::JsonNodeRef& at, kel::StringW& out) const {
    kel::StringW text;
    if (!EnterpriseIntegration::StringCodec().Load(at, text)) return false;
    if (text.Length() < Min || text.Length() > Max) return false;
    out = std::move(text);
    return true;
  }
  bool Save(const kel::StringW& value, Json::Value& out) const {
    return EnterpriseIntegration::StringCodec().Save(value, out);
  }
  // Lengths count UTF-16 units here and code points in a validator: they
  // differ only beyond the basic plane.
  void Describe(EnterpriseIntegration::SchemaDirection direction, Json::Value& out) const {
    EnterpriseIntegration::DescribeCodec(EnterpriseIntegration::StringCodec(), direction, out);
    out["minLength"] = static_cast<Json::UInt64>(Min);
    out["maxLength"] = static_cast<Json::UInt64>(Max);
  }
};

// A distinguished name: "attribute=value" pairs, so at least one "=".
struct DnCodec : EnterpriseIntegration::JsonCodec {
  bool Load(const EnterpriseIntegration::JsonNodeRef& at, kel::StringW& out) const;
  void Describe(EnterpriseIntegration::SchemaDirection direction, Json::Value& out) const;
  bool Save(const kel::StringW& value, Json::Value& out) const {
    return EnterpriseIntegration::StringCodec().Save(value, out);
  }
};

// A mail address: "local@domain", neither part empty, no white space or
// control characters. Only its shape is checked; the plug-in owns the rest.
struct AddressCodec : EnterpriseIntegration::JsonCodec {
  bool Load(const EnterpriseIntegration::JsonNodeRef& at, kel::StringW& out) const;
  void Describe(EnterpriseIntegration::SchemaDirection direction, Json::Value& out) const;
  bool Save(const kel::StringW& value, Json::Value& out) const {
    return EnterpriseIntegration::StringCodec().Save(value, out);
  }
};

// A group id in exactly the form the agent writes it,
// "hhhhhhhh-hhhh-hhhh-hhhh-hhhhhhhhhhhh" (any case, braces optional). The
// looser reading of kel::Guid::Parse would take "1-2-3-4-5" or trailing
// text and could name a group the console never meant.
struct IdCodec : EnterpriseIntegration::JsonCodec {
  bool Load(const EnterpriseIntegration::JsonNodeRef& at, kel::Guid& out) const;
  void Describe(EnterpriseIntegration::SchemaDirection direction, Json::Value& out) const;
  bool Save(const kel::Guid& value, Json::Value& out) const {
    return EnterpriseIntegration::GuidCodec().Save(value, out);
  }
};

// An integer from `Min` to `Max`, kept as 32 bits unsigned. (The plain 32-bit
// load takes -1 as 4294967295, which a page position must not.)
template <int64_t Min, int64_t Max>
struct RangeCodec : EnterpriseIntegration::JsonCodec {
  bool Load(const EnterpriseIntegration::JsonNodeRef& at, uint32_t& out) const {
    int64_t value = 0;
    if (!EnterpriseIntegration::IntegerCodec<int64_t>().Load(at, value)) return false;
    if (value < Min || value > Max) return false;
    out = static_cast<uint32_t>(value);
    return true;
  }
  bool Save(const uint32_t& value, Json::Value& out) const {
    return EnterpriseIntegration::IntegerCodec<uint32_t>().Save(value, out);
  }
  void Describe(EnterpriseIntegration::SchemaDirection direction, Json::Value& out) const {
    if (direction == EnterpriseIntegration::SchemaDirection::kInput) {
      out = EnterpriseIntegration::IntegerSchema(Min, Max);
    } else {
      EnterpriseIntegration::DescribeCodec(EnterpriseIntegration::IntegerCodec<uint32_t>(),
                                           direction, out);
    }
  }
};

// A list of `Min` to `Max` elements. The size is judged before any element
// is read, so an oversized list costs no conversion.
template <class T, class ElementCodec, size_t Min, size_t Max>
struct BoundedListCodec : EnterpriseIntegration::JsonCodec {
  bool Load(const EnterpriseIntegration::JsonNodeRef& at, kel::List<T>& out) const {
    const Json::Value* array = at.node();
    if (array == nullptr || !array->isArray()) return false;
    if (array->size() < Min || array->size() > Max) return false;
    return EnterpriseIntegration::ListCodec<T, ElementCodec>().Load(at, out);
  }
  bool Save(const kel::List<T>& value, Json::Value& out) const {
    return EnterpriseIntegration::ListCodec<T, ElementCodec>().Save(value, out);
  }
  void Describe(EnterpriseIntegration::SchemaDirection direction, Json::Value& out) const {
    EnterpriseIntegration::DescribeCodec(EnterpriseIntegration::ListCodec<T, ElementCodec>(),
                                         direction, out);
    if (direction == EnterpriseIntegration::SchemaDirection::kOutput) return;
    out["minItems"] = static_cast<Json::UInt64>(Min);
    out["maxItems"] = static_cast<Json::UInt64>(Max);
  }
};

using NameCodec = TextCodec<1, kMaxNameLength>;
using DescriptionCodec = TextCodec<0, kMaxDescriptionLength>;
using MembersCodec = BoundedListCodec<kel::StringW, AddressCodec, 0, kMaxMembersPerRequest>;
using IdsCodec = BoundedListCodec<kel::Guid, IdCodec, 1, kMaxIdsPerRequest>;
using FromCodec = RangeCodec<0, UINT32_MAX>;
using CountCodec = RangeCodec<0, kMaxPageCount>;

// ---- Inputs ----

// "DeleteGroup", "GetGroup".
struct GroupRef {
  kel::Guid id;
};

// "AddGroup": the settings, and the first members of a local group.
struct NewGroup {
  kel::nusdk::MailServers::Groups::GroupSettings settings;
  kel::List<kel::StringW> members;
};

// "UpdateGroup".
struct GroupUpdate {
  kel::Guid id;
  kel::nusdk::MailServers::Groups::GroupSettings settings;
};

// "AddMembers", "RemoveMembers".
struct MemberChange {
  kel::Guid id;
  kel::List<kel::StringW> members;
};

// "GetGroups" in, and out.
struct PageRequest {
  uint32_t from = 0;
  uint32_t count = 0;
};
struct GroupPage {
  uint64_t totalCount = 0;
  kel::List<kel::nusdk::MailServers::Groups::GroupInfo> groups;
};

// "SynchronizeWithAD": no "ids" means every directory group.
struct SyncRequest {
  kel::List<kel::Guid> ids;
};

// The body of "MailServers.Groups.ADSyncStarted".
struct SyncStart {
  uint32_t groups = 0;
};

namespace rules {

struct IsDirectory {
  template <class S>
  constexpr bool operator()(const S& s) const noexcept {
    return s.kind == kel::nusdk::MailServers::Groups::kGroupDirectory;
  }
};
struct HasSynced {
  template <class S>
  constexpr bool operator()(const S& s) const noexcept {
    return s.lastSync.time != 0;
  }
};
struct HasRun {
  template <class S>
  constexpr bool operator()(const S& s) const noexcept {
    return s.started != 0;
  }
};
struct HasFinished {
  template <class S>
  constexpr bool operator()(const S& s) const noexcept {
    return s.finished != 0;
  }
};

}  // namespace rules
}  // namespace GroupsManagerAgent

namespace EnterpriseIntegration {

namespace groups = ::GroupsManagerAgent;

// clang-format off
template <>
struct JsonSchema<kel::nusdk::MailServers::Groups::GroupSettings>
    : JsonSchemaBase<kel::nusdk::MailServers::Groups::GroupSettings> {
  using S = kel::nusdk::MailServers::Groups::GroupSettings;
  static constexpr auto kFields = Fields(
      //       key                         member           conversion, presence
      Required(groups::keys::kName,        &S::name,        groups::NameCodec()),
      Optional(groups::keys::kDescription, &S::description, groups::DescriptionCodec(), Default()),
      Required(groups::keys::kKind,        &S::kind,        groups::kKindNames),
      // Read whatever the kind, so that a local group given a DN is refused
      // by Check; written for directory groups only.
      Optional(groups::keys::kDn,          &S::directoryDn, groups::DnCodec(), Default(), kLoadOnly),
      Required(groups::keys::kDn,          &S::directoryDn, kSaveOnly, When(groups::rules::IsDirectory())));
  // A directory group names its directory group; a local one names none.
  static constexpr char kCheckRule[] =
      "a \"directory\" group has a non-empty \"dn\", a \"local\" one none.";
  static bool Check(const S& s) {
    return (s.kind == kel::nusdk::MailServers::Groups::kGroupDirectory) != s.directoryDn.IsEmpty();
  }
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Groups::SyncResult>
    : JsonSchemaBase<kel::nusdk::MailServers::Groups::SyncResult> {
  using S = kel::nusdk::MailServers::Groups::SyncResult;
  static constexpr auto kFields = Fields(
      //       key                  member
      Required(groups::keys::kTime,  &S::time),    // seconds since 1970, UTC
      Required(groups::keys::kError, &S::error));  // Win32 code
};

// Written only: the agent never reads a group back.
template <>
struct JsonSchema<kel::nusdk::MailServers::Groups::GroupInfo>
    : JsonSchemaBase<kel::nusdk::MailServers::Groups::GroupInfo> {
  using S = kel::nusdk::MailServers::Groups::GroupInfo;
  static constexpr auto kFields = Fields(
      //       key                         member
      Required(groups::keys::kId,          &S::id),
      InlineBase<kel::nusdk::MailServers::Groups::GroupSettings>(),
      Required(groups::keys::kMemberCount, &S::memberCount),
      Required(groups::keys::kLastSync,    &S::lastSync,   When(groups::rules::HasSynced())));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Groups::Group>
    : JsonSchemaBase<kel::nusdk::MailServers::Groups::Group> {
  using S = kel::nusdk::MailServers::Groups::Group;
  static constexpr auto kFields = Fields(
      InlineBase<kel::nusdk::MailServers::Groups::GroupInfo>(),
      Required(groups::keys::kMembers, &S::members));  // [string]
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Groups::SyncStatus>
    : JsonSchemaBase<kel::nusdk::MailServers::Groups::SyncStatus> {
  using S = kel::nusdk::MailServers::Groups::SyncStatus;
  static constexpr auto kFields = Fields(
      //       key                          member
      Required(groups::keys::kRunning,      &S::running),
      Required(groups::keys::kStarted,      &S::started,      When(groups::rules::HasRun())),
      Required(groups::keys::kGroups,       &S::groups,       When(groups::rules::HasRun())),
      Required(groups::keys::kSynchronized, &S::synchronized, When(groups::rules::HasRun())),
      Required(groups::keys::kFailed,       &S::failed,       When(groups::rules::HasRun())),
      Required(groups::keys::kFinished,     &S::finished,     When(groups::rules::HasFinished())),
      Required(groups::keys::kError,        &S::error,        When(groups::rules::HasFinished())));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Groups::GroupSyncInfo>
    : JsonSchemaBase<kel::nusdk::MailServers::Groups::GroupSyncInfo> {
  using S = kel::nusdk::MailServers::Groups::GroupSyncInfo;
  static constexpr auto kFields = Fields(
      //       key                   member
      Required(groups::keys::kId,   &S::id),
      Required(groups::keys::kName, &S::name),
      Required(groups::keys::kDn,   &S::directoryDn));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Groups::GroupSyncResult>
    : JsonSchemaBase<kel::nusdk::MailServers::Groups::GroupSyncResult> {
  using S = kel::nusdk::MailServers::Groups::GroupSyncResult;
  static constexpr auto kFields = Fields(
      InlineBase<kel::nusdk::MailServers::Groups::GroupSyncInfo>(),
      Required(groups::keys::kError,   &S::error),
      Required(groups::keys::kMembers, &S::members));  // the count
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Groups::SyncSummary>
    : JsonSchemaBase<kel::nusdk::MailServers::Groups::SyncSummary> {
  using S = kel::nusdk::MailServers::Groups::SyncSummary;
  static constexpr auto kFields = Fields(
      //       key                          member
      Required(groups::keys::kError,        &S::error),
      Required(groups::keys::kSynchronized, &S::synchronized),
      Required(groups::keys::kFailed,       &S::failed));
};

template <>
struct JsonSchema<groups::GroupRef> : JsonSchemaBase<groups::GroupRef> {
  using S = groups::GroupRef;
  static constexpr auto kFields = Fields(
      Required(groups::keys::kId, &S::id, groups::IdCodec()));
};

template <>
struct JsonSchema<groups::NewGroup> : JsonSchemaBase<groups::NewGroup> {
  using S = groups::NewGroup;
  static constexpr auto kFields = Fields(
      Inline(&S::settings),
      Optional(groups::keys::kMembers, &S::members, groups::MembersCodec(), Default()));
  // A directory group's members come from synchronisation only.
  static constexpr char kCheckRule[] = "only a \"local\" group has \"members\".";
  static bool Check(const S& s) {
    return s.members.Count() == 0 ||
           s.settings.kind == kel::nusdk::MailServers::Groups::kGroupLocal;
  }
};

template <>
struct JsonSchema<groups::GroupUpdate>
    : JsonSchemaBase<groups::GroupUpdate> {
  using S = groups::GroupUpdate;
  static constexpr auto kFields = Fields(
      Required(groups::keys::kId, &S::id, groups::IdCodec()),
      Inline(&S::settings));
};

template <>
struct JsonSchema<groups::MemberChange>
    : JsonSchemaBase<groups::MemberChange> {
  using S = groups::MemberChange;
  static constexpr auto kFields = Fields(
      Required(groups::keys::kId,      &S::id,      groups::IdCodec()),
      Required(groups::keys::kMembers, &S::members, groups::MembersCodec()));
};

template <>
struct JsonSchema<groups::PageRequest>
    : JsonSchemaBase<groups::PageRequest> {
  using S = groups::PageRequest;
  static constexpr auto kFields = Fields(
      Required(groups::keys::kFrom,  &S::from,  groups::FromCodec()),
      Required(groups::keys::kCount, &S::count, groups::CountCodec()));
};

template <>
struct JsonSchema<groups::GroupPage> : JsonSchemaBase<groups::GroupPage> {
  using S = groups::GroupPage;
  static constexpr auto kFields = Fields(
      Required(groups::keys::kTotalCount, &S::totalCount),
      Required(groups::keys::kGroups,     &S::groups));  // [group without members]
};

template <>
struct JsonSchema<groups::SyncRequest>
    : JsonSchemaBase<groups::SyncRequest> {
  using S = groups::SyncRequest;
  // Present, the list names at least one group: an empty one would read as
  // "every group" to the plug-in.
  static constexpr auto kFields = Fields(
      Optional(groups::keys::kIds, &S::ids, groups::IdsCodec(), Default()));
};

template <>
struct JsonSchema<groups::SyncStart> : JsonSchemaBase<groups::SyncStart> {
  using S = groups::SyncStart;
  static constexpr auto kFields = Fields(
      Required(groups::keys::kGroups, &S::groups));
};
// clang-format on

}  // namespace EnterpriseIntegration
