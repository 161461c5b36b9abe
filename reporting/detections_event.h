#pragma once
// "kel.MailServers.Transport.Detections": one event per transport-scanned
// e-mail in which something was found or could not be looked at, sent by the
// statistics agent, so that a console can list the messages behind the
// counters. Nothing is sent for a clean message, an object or an on-demand
// scan.
//
// | key                 | from the scan result                                        |
// |---------------------|-------------------------------------------------------------|
// | "messageId"         | messageId                                                   |
// | "subject"           | subject                                                     |
// | "sentBy/connection" | senderConnection                                            |
// | "detections"        | the modules with matched rules, in the order antispam,      |
// |                     | antivirus, content, attachment, domainCheck                 |
// | "antivirus"         | every threat of every antivirus rule: [{"name", "type"}],   |
// |                     | "type" left out for a code without a name                   |
// | "content"           | the names of the content rules matched                      |
// | "attachment"        | the names of the files the attachment rules matched         |
// | "actions"           | the named main actions of all matched rules (e-mail,        |
// |                     | attachment or file action), each name once, in module order |
// | "notScanned"        | fileName of each antivirus rule with scanned false          |
// | "errors"            | {name: count} without zero counts, as in the item document  |
// | "unscannable"       | fileName of each antivirus rule whose final status has      |
// |                     | scanFailed or passwordProtected                             |
//
// Every key is present when the event is sent (arrays may be empty); the
// event is sent when "detections", "notScanned", "unscannable" or "errors"
// is not empty.
#include <vector>

#include <json/value.h>

#include "reporting/item_document.h"

namespace Reporting {

inline constexpr wchar_t kDetectionsEvent[] = L"kel.MailServers.Transport.Detections";

// The modules as "detections" names them.
inline constexpr auto kDetectionModuleNames = EnterpriseIntegration::EnumNames({
    {0, "antispam"},
    {1, "antivirus"},
    {2, "content"},
    {3, "attachment"},
    {4, "domainCheck"},
});

// Action names from the e-mail, attachment and file action tables, each once.
struct ActionNamesCodec : EnterpriseIntegration::JsonCodec {
  bool Save(const std::vector<const char*>& names, Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
};

struct DetectionsDocument {
  using Threat = kel::nusdk::MailServers::ItemScanInfo::Antivirus::RuleInfo::Threat;
  kel::StringW messageId;
  kel::StringW subject;
  kel::StringW senderConnection;
  kel::List<int32_t> detections;  // kDetectionModuleNames
  kel::List<Threat> threats;
  kel::List<kel::StringW> content;
  kel::List<kel::StringW> attachment;
  std::vector<const char*> actions;
  kel::List<kel::StringW> notScanned;
  kel::Map<kel::StringW, int32_t> errors;
  kel::List<kel::StringW> unscannable;
};

// False, with `out` untouched, when the item calls for no event.
bool WriteDetectionsDocument(const kel::nusdk::MailServers::ItemScanInfo& info, Json::Value& out);

}  // namespace Reporting

namespace EnterpriseIntegration {

// clang-format off
template <>
struct JsonSchema<Reporting::DetectionsDocument> : JsonSchemaBase<Reporting::DetectionsDocument> {
  using S = Reporting::DetectionsDocument;
  static constexpr auto kFields = Fields(
      Required("messageId",         &S::messageId),
      Required("subject",           &S::subject),
      Required("sentBy/connection", &S::senderConnection),
      Required("detections",        &S::detections,
          Reporting::NameListCodec(Reporting::kDetectionModuleNames.view())),
      Required("antivirus",         &S::threats),
      Required("content",           &S::content),
      Required("attachment",        &S::attachment),
      Required("actions",           &S::actions,     Reporting::ActionNamesCodec()),
      Required("notScanned",        &S::notScanned),
      Required("errors",            &S::errors,      Reporting::ErrorsCodec()),
      Required("unscannable",       &S::unscannable));
};
// clang-format on

}  // namespace EnterpriseIntegration
