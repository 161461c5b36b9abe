#pragma once
// Quarantined items in JSON, written only (the console never sends one back),
// each key declared once below.
//
// An item whose location, module or detection reason has no name in its
// table, or whose MIME parts nest deeper than kMaxPartDepth, is not written
// at all: it counts as failed, and callers treat a failed item as an answer
// that cannot be written.
//
// MIME parts nest as deep as the message says, and the message comes from
// outside. The tree is walked without recursion: the JSON tree a deeper one
// would make is one that jsoncpp's own destructor and writer (both
// recursive) could not be trusted with.
#include <cstddef>
#include <cstdint>

#include <json/value.h>

#include "agent/json/json_schema_writer.h"
#include "agent/json/json_serializer.h"
#include "frame/list.h"
#include "quarantine/item_names.h"
#include "quarantine/quarantine_requests.h"
#include "sdk/mailservers/quarantine.h"

namespace QuarantineAgent {

using kel::nusdk::MailServers::Quarantine::Data;
using kel::nusdk::MailServers::Quarantine::DataEx;
using MailPartInfo = kel::nusdk::MailServers::Quarantine::DataEx::MailPartInfo;

// The main part is level 1; MIME parsers in mail servers stop far earlier.
inline constexpr size_t kMaxPartDepth = 100;

// Whether the item can be written whole.
bool ItemWritable(const Data& item) noexcept;
bool ItemWritable(const DataEx& item) noexcept;
template <class Item>
bool ItemsWritable(const kel::List<Item>& items) noexcept {
  for (const Item& item : items) {
    if (!ItemWritable(item)) return false;
  }
  return true;
}

// Each makes `out` the item's object and answers false when the item failed;
// `out` is then an empty object.
bool WriteItem(const Data& item, Json::Value& out);
bool WriteItem(const DataEx& item, Json::Value& out);
// False for a tree deeper than kMaxPartDepth, `out` then untouched.
bool WriteMailPart(const MailPartInfo& part, Json::Value& out);

// Every item as an element of the array `out`; false when an item failed.
bool WriteItems(const kel::List<Data>& items, Json::Value& out);
bool WriteItems(const kel::List<DataEx>& items, Json::Value& out);

// Frees the parts under `part` without recursion, so that a tree of any depth
// can be let go of; `part` keeps its own fields and no children.
void ReleaseChildParts(MailPartInfo& part) noexcept;
inline void ReleaseChildParts(kel::List<Data>&) noexcept {}
inline void ReleaseChildParts(kel::List<DataEx>& items) noexcept {
  for (DataEx& item : items) ReleaseChildParts(item.mainPart);
}

// A part and the parts inside it, by the walk of WriteMailPart. Its schema
// names itself, so that the child parts can refer to it.
struct MailPartCodec : EnterpriseIntegration::JsonCodec {
  bool Save(const MailPartInfo& part, Json::Value& out) const { return WriteMailPart(part, out); }
  void Describe(EnterpriseIntegration::SchemaDirection direction, Json::Value& out) const;
};

bool FoundOnDemand(const kel::nusdk::MailServers::Quarantine::DetectionPoint& point) noexcept;
bool FromAntivirus(const Data& item) noexcept;
bool FromAttachment(const Data& item) noexcept;

// Answers and events made of items. Full items own part trees that came from
// outside: they are let go of without recursion, however deep.
template <class Item>
struct ItemPage {  // "GetItemsQuick", "GetItemsFull"
  uint64_t totalCount = 0;
  kel::List<Item> items;
  ~ItemPage() { ReleaseChildParts(items); }
};
template <class Item>
struct ItemsFound {  // "GetItemsByIdQuick", "GetItemsByIdFull"
  kel::List<Item> items;
  kel::List<kel::nusdk::MailServers::Quarantine::IQuarantine::Error> errors;
  ~ItemsFound() { ReleaseChildParts(items); }
};
struct AddedItems {  // items added
  q::Zone zone = q::kZoneEmails;
  kel::List<Data> items;
};

}  // namespace QuarantineAgent

namespace EnterpriseIntegration {

// clang-format off
template <>
struct JsonSchema<kel::nusdk::MailServers::Quarantine::DetectionPoint>
    : JsonSchemaBase<kel::nusdk::MailServers::Quarantine::DetectionPoint> {
  using S = kel::nusdk::MailServers::Quarantine::DetectionPoint;
  static constexpr auto kFields = Fields(
      Required("location", &S::location, QuarantineAgent::kLocationNames),
      Optional("mailbox",  &S::mailbox,  When(&QuarantineAgent::FoundOnDemand)),
      Optional("folder",   &S::folder,   When(&QuarantineAgent::FoundOnDemand)),
      Optional("task",     &S::task,     When(&QuarantineAgent::FoundOnDemand)));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Quarantine::Data>
    : JsonSchemaBase<kel::nusdk::MailServers::Quarantine::Data> {
  using S = kel::nusdk::MailServers::Quarantine::Data;
  static constexpr auto kFields = Fields(
      Required("detectionPoint",      &S::detectionPoint),
      Required("id",                  &S::id),
      Required("module",              &S::module,               QuarantineAgent::kModuleNames),
      Required("rule",                &S::rule),
      Required("size",                &S::size),
      Required("sourceIP",            &S::sourceIP),
      Required("subject",             &S::subject),
      Required("when",                &S::when),
      Required("sentBy/connection",   &S::senderConnection),
      Required("sentBy/email",        &S::senderEmail),
      Required("sentTo/connection",   &S::recipientConnections),
      Required("sentTo/email",        &S::recipientEmails),
      Required("contentType",         &S::contentType),
      Optional("Antivirus/detected",  &S::antivirusDetected,
          When(&QuarantineAgent::FromAntivirus)),
      Optional("Antivirus/reason",    &S::antivirusReason,      QuarantineAgent::kReasonNames,
          When(&QuarantineAgent::FromAntivirus)),
      Optional("Antivirus/file",      &S::antivirusFile,
          When(&QuarantineAgent::FromAntivirus)),
      Optional("Antivirus/status",    &S::antivirusStatus,      kScanStatusNames,
          When(&QuarantineAgent::FromAntivirus)),
      Optional("Attachment/detected", &S::attachmentDetected,
          When(&QuarantineAgent::FromAttachment)));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Quarantine::DataEx>
    : JsonSchemaBase<kel::nusdk::MailServers::Quarantine::DataEx> {
  using S = kel::nusdk::MailServers::Quarantine::DataEx;
  static constexpr auto kFields = Fields(
      InlineBase<kel::nusdk::MailServers::Quarantine::Data>(),
      Required("mainPart", &S::mainPart, QuarantineAgent::MailPartCodec()));
};

template <>
struct JsonSchema<QuarantineAgent::MailPartInfo::HeaderField>
    : JsonSchemaBase<QuarantineAgent::MailPartInfo::HeaderField> {
  using S = QuarantineAgent::MailPartInfo::HeaderField;
  static constexpr auto kFields = Fields(
      Required("name",  &S::name),
      Required("value", &S::value));
};

// A part's own keys; its "childParts" are written by the walk.
template <>
struct JsonSchema<QuarantineAgent::MailPartInfo> : JsonSchemaBase<QuarantineAgent::MailPartInfo> {
  using S = QuarantineAgent::MailPartInfo;
  static constexpr auto kFields = Fields(
      Required("headers",     &S::headers),
      Required("name",        &S::name),
      Required("contentType", &S::contentType),
      Required("body",        &S::body));
};

template <class Item>
struct JsonSchema<QuarantineAgent::ItemPage<Item>>
    : JsonSchemaBase<QuarantineAgent::ItemPage<Item>> {
  using S = QuarantineAgent::ItemPage<Item>;
  using Base = JsonSchemaBase<S>;
  static constexpr auto kFields = Base::Fields(
      Base::Required("totalCount", &S::totalCount),
      Base::Required("items",      &S::items));
};

template <class Item>
struct JsonSchema<QuarantineAgent::ItemsFound<Item>>
    : JsonSchemaBase<QuarantineAgent::ItemsFound<Item>> {
  using S = QuarantineAgent::ItemsFound<Item>;
  using Base = JsonSchemaBase<S>;
  static constexpr auto kFields = Base::Fields(
      Base::Required("items",  &S::items),
      Base::Required("errors", &S::errors));
};

template <>
struct JsonSchema<QuarantineAgent::AddedItems> : JsonSchemaBase<QuarantineAgent::AddedItems> {
  using S = QuarantineAgent::AddedItems;
  static constexpr auto kFields = Fields(
      Required("zone",  &S::zone, QuarantineAgent::kZoneNames),
      Required("items", &S::items));
};
// clang-format on

}  // namespace EnterpriseIntegration
