#pragma once
// The JSON documents of the scan notifications: one per scanned item, one per
// blocked connection, each declared once below (the schema that writes it is
// the one the module describes). Pure functions of the plug-in's structures,
// so that the scanner agent keeps no state and needs no lock.
//
// Item document:
//   per module with matched rules (antispam, antivirus, content, attachment,
//   domainCheck): {"action", "rulesMatched": [...]}; "action" only when the
//   file action table names it; the antispam module only with a named
//   "action" (an asymmetry that is kept on purpose);
//   transport: "actionTaken"; on demand: "onDemandTaskId", "mailBox",
//   "folderPath", "actionTaken";
//   "errors" {name: count} without the zero counts, left out when none remain;
//   "subject", "size";
//   an e-mail: "authenticated" (transport only), "sentBy" {"connection",
//   "email"}, "sentTo" {"connection": [...], "email": [...]}, "messageId",
//   "quarantinedItemID", "sourceIP" {"connection"}, "traffic" (unless 0);
//   any other object: "type", "fileName".
// A code missing from its name table leaves its key out (a list of codes
// leaves the code out).
#include <cstdint>

#include <json/value.h>

#include "agent/json/json_schema_writer.h"
#include "agent/json/json_serializer.h"
#include "agent/scan_status_names.h"
#include "reporting/scan_tables.h"
#include "sdk/mailservers/mail_servers.h"

namespace Reporting {

inline constexpr wchar_t kTransportEmailScanned[] = L"MailServers.Transport.EmailScanned";
inline constexpr wchar_t kOnDemandEmailScanned[] = L"MailServers.OnDemand.EmailScanned";
inline constexpr wchar_t kTransportObjectScanned[] = L"MailServers.Transport.ObjectScanned";
inline constexpr wchar_t kOnDemandObjectScanned[] = L"MailServers.OnDemand.ObjectScanned";
inline constexpr wchar_t kConnectionBlocked[] = L"MailServers.Transport.ConnectionBlocked";

// Transport or on-demand, e-mail or any other object.
const wchar_t* ItemEventName(const kel::nusdk::MailServers::ItemScanInfo& info) noexcept;

// `out` becomes the item's document. Throws only what allocation throws.
void WriteItemDocument(const kel::nusdk::MailServers::ItemScanInfo& info, Json::Value& out);

// {"senderEmail", "blockedBy": "senderBlacklist" for reason 0, else ""}.
void WriteConnectionBlockedDocument(const kel::nusdk::MailServers::ConnectionBlockedInfo& info,
                                    Json::Value& out);

// ---- conversions of the scan documents (written only) ----

using EnterpriseIntegration::SchemaDirection;

// The names of a list of codes; a code without a name is left out, so the
// list may be shorter than the codes.
struct NameListCodec : EnterpriseIntegration::JsonCodec {
  constexpr explicit NameListCodec(EnterpriseIntegration::NameTableView names) : table(names) {}
  bool Save(const kel::List<int32_t>& codes, Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
  EnterpriseIntegration::NameTableView table;
};

// A traffic direction by name, "n/a" for a code the table lacks.
struct TrafficCodec : EnterpriseIntegration::JsonCodec {
  bool Save(uint32_t traffic, Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
};

// An error count; a zero count has no JSON form, so its entry is left out.
struct ErrorCountCodec : EnterpriseIntegration::JsonCodec {
  bool Save(int32_t count, Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
};
// The item's errors {name: count} without the zero counts; may be {}.
using ErrorsCodec =
    EnterpriseIntegration::MapCodec<kel::Map<kel::StringW, int32_t>, ErrorCountCodec>;
bool HasErrors(const kel::nusdk::MailServers::ItemScanInfo& info) noexcept;

// Why a connection was blocked: "senderBlacklist" for reason 0, otherwise "".
struct BlockedByCodec : EnterpriseIntegration::JsonCodec {
  bool Save(int32_t reason, Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
};

// When each part of the item document is there.
template <auto Module>
bool Matched(const kel::nusdk::MailServers::ItemScanInfo& info) noexcept {
  return (info.*Module).rules.Count() != 0;
}
bool AntispamWritten(const kel::nusdk::MailServers::ItemScanInfo& info) noexcept;
bool OnDemand(const kel::nusdk::MailServers::ItemScanInfo& info) noexcept;
bool IsObject(const kel::nusdk::MailServers::ItemScanInfo& info) noexcept;
bool IsEmail(const kel::nusdk::MailServers::ItemScanInfo& info) noexcept;
bool IsTransportEmail(const kel::nusdk::MailServers::ItemScanInfo& info) noexcept;
bool HasTraffic(const kel::nusdk::MailServers::ItemScanInfo& info) noexcept;

// A module's part: its overall action and its matched rules.
template <class Module>
struct ModuleSchema : EnterpriseIntegration::JsonSchemaBase<Module> {
  using Base = EnterpriseIntegration::JsonSchemaBase<Module>;
  static constexpr auto kFields =
      Base::Fields(Base::Optional("action", &Module::action, kFileActionNames),
                   Base::Required("rulesMatched", &Module::rules));
};

}  // namespace Reporting

namespace EnterpriseIntegration {

namespace scan {
using Info = kel::nusdk::MailServers::ItemScanInfo;
}  // namespace scan

// clang-format off
template <>
struct JsonSchema<kel::nusdk::MailServers::RuleInfoHeader>
    : JsonSchemaBase<kel::nusdk::MailServers::RuleInfoHeader> {
  using S = kel::nusdk::MailServers::RuleInfoHeader;
  static constexpr auto kFields = Fields(
      Required("ruleName",                   &S::ruleName),
      Required("stoppedProcessingMoreRules", &S::stoppedProcessingMoreRules),
      Required("detectedWithoutScan",        &S::detectedWithoutScan));
};

template <>
struct JsonSchema<scan::Info::Antispam::RuleInfo> : JsonSchemaBase<scan::Info::Antispam::RuleInfo> {
  using S = scan::Info::Antispam::RuleInfo;
  static constexpr auto kFields = Fields(
      InlineBase<kel::nusdk::MailServers::RuleInfoHeader>(),
      Required("spamScore",             &S::spamScore),
      Optional("mainActionTaken",       &S::mainActionTaken,       Reporting::kEmailActionNames),
      Required("secondaryActionsTaken", &S::secondaryActionsTaken,
               Reporting::NameListCodec(Reporting::kAntispamSecondaryNames.view())),
      Required("spamLevel",             &S::spamLevel));
};

template <>
struct JsonSchema<scan::Info::Antivirus::RuleInfo::Threat>
    : JsonSchemaBase<scan::Info::Antivirus::RuleInfo::Threat> {
  using S = scan::Info::Antivirus::RuleInfo::Threat;
  static constexpr auto kFields = Fields(
      Required("name", &S::name),
      Optional("type", &S::type, Reporting::kThreatTypeNames));
};

template <>
struct JsonSchema<scan::Info::Antivirus::RuleInfo>
    : JsonSchemaBase<scan::Info::Antivirus::RuleInfo> {
  using S = scan::Info::Antivirus::RuleInfo;
  static constexpr auto kFields = Fields(
      InlineBase<kel::nusdk::MailServers::RuleInfoHeader>(),
      Required("scanned",             &S::scanned),
      Required("fileName",            &S::fileName),
      Required("isInArchive",         &S::isInArchive),
      Required("initialScanStatus",   &S::initialScanStatus,   kScanStatusNames),
      Required("finalScanStatus",     &S::finalScanStatus,     kScanStatusNames),
      Required("threats",             &S::threats),
      Optional("actionTaken",         &S::actionTaken,         Reporting::kFileActionNames),
      Optional("actionTakenOnParent", &S::actionTakenOnParent, Reporting::kFileActionNames),
      Required("quarantinedItemId",   &S::quarantinedItemId));
};

template <>
struct JsonSchema<scan::Info::Content::RuleInfo> : JsonSchemaBase<scan::Info::Content::RuleInfo> {
  using S = scan::Info::Content::RuleInfo;
  static constexpr auto kFields = Fields(
      InlineBase<kel::nusdk::MailServers::RuleInfoHeader>(),
      Optional("mainActionTaken",       &S::mainActionTaken,       Reporting::kEmailActionNames),
      Required("secondaryActionsTaken", &S::secondaryActionsTaken,
               Reporting::NameListCodec(Reporting::kContentSecondaryNames.view())));
};

template <>
struct JsonSchema<scan::Info::Attachment::RuleInfo::File>
    : JsonSchemaBase<scan::Info::Attachment::RuleInfo::File> {
  using S = scan::Info::Attachment::RuleInfo::File;
  static constexpr auto kFields = Fields(
      Required("name", &S::name),
      Required("size", &S::size));
};

template <>
struct JsonSchema<scan::Info::Attachment::RuleInfo>
    : JsonSchemaBase<scan::Info::Attachment::RuleInfo> {
  using S = scan::Info::Attachment::RuleInfo;
  static constexpr auto kFields = Fields(
      InlineBase<kel::nusdk::MailServers::RuleInfoHeader>(),
      Optional("mainActionTaken",       &S::mainActionTaken,
          Reporting::kAttachmentActionNames),
      Required("secondaryActionsTaken", &S::secondaryActionsTaken,
               Reporting::NameListCodec(Reporting::kAttachmentSecondaryNames.view())),
      Required("filesMatched",          &S::filesMatched));
};

template <>
struct JsonSchema<scan::Info::DomainCheck::RuleInfo>
    : JsonSchemaBase<scan::Info::DomainCheck::RuleInfo> {
  using S = scan::Info::DomainCheck::RuleInfo;
  static constexpr auto kFields = Fields(
      InlineBase<kel::nusdk::MailServers::RuleInfoHeader>(),
      Optional("mainActionTaken",       &S::mainActionTaken,       Reporting::kEmailActionNames),
      Required("secondaryActionsTaken", &S::secondaryActionsTaken,
               Reporting::NameListCodec(Reporting::kDomainCheckSecondaryNames.view())));
};

template <>
struct JsonSchema<scan::Info::Antispam> : Reporting::ModuleSchema<scan::Info::Antispam> {};
template <>
struct JsonSchema<scan::Info::Antivirus> : Reporting::ModuleSchema<scan::Info::Antivirus> {};
template <>
struct JsonSchema<scan::Info::Content> : Reporting::ModuleSchema<scan::Info::Content> {};
template <>
struct JsonSchema<scan::Info::Attachment> : Reporting::ModuleSchema<scan::Info::Attachment> {};
template <>
struct JsonSchema<scan::Info::DomainCheck> : Reporting::ModuleSchema<scan::Info::DomainCheck> {};

// The item document, in the order its keys are decided.
template <>
struct JsonSchema<scan::Info> : JsonSchemaBase<scan::Info> {
  using S = scan::Info;
  static constexpr auto kFields = Fields(
      Optional("antispam",            &S::antispam,             When(&Reporting::AntispamWritten)),
      Optional("antivirus",           &S::antivirus,
          When(&Reporting::Matched<&S::antivirus>)),
      Optional("content",             &S::content,
          When(&Reporting::Matched<&S::content>)),
      Optional("attachment",          &S::attachment,
          When(&Reporting::Matched<&S::attachment>)),
      Optional("domainCheck",         &S::domainCheck,
          When(&Reporting::Matched<&S::domainCheck>)),
      Optional("onDemandTaskId",      &S::onDemandTaskId,       When(&Reporting::OnDemand)),
      Optional("mailBox",             &S::mailbox,              When(&Reporting::OnDemand)),
      Optional("folderPath",          &S::folderPath,           When(&Reporting::OnDemand)),
      Optional("actionTaken",         &S::actionTaken,          Reporting::kOutcomeNames),
      Optional("errors",              &S::errors,               Reporting::ErrorsCodec(),
          When(&Reporting::HasErrors)),
      Required("subject",             &S::subject),
      Required("size",                &S::size),
      Optional("type",                &S::objectType,           Reporting::kObjectTypeNames,
          When(&Reporting::IsObject)),
      Optional("fileName",            &S::fileName,             When(&Reporting::IsObject)),
      Optional("authenticated",       &S::authenticated,        When(&Reporting::IsTransportEmail)),
      Optional("sentBy/connection",   &S::senderConnection,     When(&Reporting::IsEmail)),
      Optional("sentBy/email",        &S::senderEmail,          When(&Reporting::IsEmail)),
      Optional("sentTo/connection",   &S::recipientConnections, When(&Reporting::IsEmail)),
      Optional("sentTo/email",        &S::recipientEmails,      When(&Reporting::IsEmail)),
      Optional("messageId",           &S::messageId,            When(&Reporting::IsEmail)),
      Optional("quarantinedItemID",   &S::quarantinedItemId,    When(&Reporting::IsEmail)),
      Optional("sourceIP/connection", &S::sourceIp,             When(&Reporting::IsEmail)),
      Optional("traffic",             &S::traffic,              Reporting::TrafficCodec(),
          When(&Reporting::HasTraffic)));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::ConnectionBlockedInfo>
    : JsonSchemaBase<kel::nusdk::MailServers::ConnectionBlockedInfo> {
  using S = kel::nusdk::MailServers::ConnectionBlockedInfo;
  static constexpr auto kFields = Fields(
      Required("senderEmail", &S::senderEmail),
      Required("blockedBy",   &S::blockedBy, Reporting::BlockedByCodec()));
};
// clang-format on

}  // namespace EnterpriseIntegration
