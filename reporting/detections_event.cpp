#include "reporting/detections_event.h"

#include <cstring>

#include "agent/json/json_primitives.h"
#include "reporting/item_document.h"
#include "agent/scan_status_names.h"
#include "reporting/scan_tables.h"

namespace Reporting {

using kel::nusdk::MailServers::ItemScanInfo;
using Key = Json::StaticString;

namespace {

void AppendString(Json::Value& array, const kel::StringW& text) {
  EnterpriseIntegration::SaveStringValue(text, array.append(Json::Value()));
}

// Appends `name` unless it is null or already there.
void AppendOnce(Json::Value& array, const char* name) {
  if (!name) return;
  for (const Json::Value& present : array) {
    if (std::strcmp(present.asCString(), name) == 0) return;
  }
  array.append(Json::Value(Key(name)));
}

template <class Module, class Table>
void AppendMainActions(Json::Value& actions, const Module& module, const Table& table) {
  for (const auto& rule : module.rules) AppendOnce(actions, NameOf(table, rule.mainActionTaken));
}

}  // namespace

bool WriteDetectionsDocument(const ItemScanInfo& info, Json::Value& out) {
  if (!info.onDemandTaskId.IsZero() || info.objectType != 0) return false;

  Json::Value detections(Json::arrayValue);
  if (info.antispam.rules.Count() != 0) detections.append(Key("antispam"));
  if (info.antivirus.rules.Count() != 0) detections.append(Key("antivirus"));
  if (info.content.rules.Count() != 0) detections.append(Key("content"));
  if (info.attachment.rules.Count() != 0) detections.append(Key("attachment"));
  if (info.domainCheck.rules.Count() != 0) detections.append(Key("domainCheck"));

  Json::Value threats(Json::arrayValue);
  Json::Value notScanned(Json::arrayValue);
  Json::Value unscannable(Json::arrayValue);
  constexpr uint32_t kUnscannable = kel::nusdk::MailServers::kScanStatusScanFailed |
                                    kel::nusdk::MailServers::kScanStatusPasswordProtected;
  for (const auto& rule : info.antivirus.rules) {
    for (const auto& threat : rule.threats) {
      Json::Value& written = threats.append(Json::Value(Json::objectValue));
      EnterpriseIntegration::SaveStringValue(threat.name, written[Key("name")]);
      if (const char* type = NameOf(kThreatTypeNames, threat.type)) {
        written[Key("type")] = Json::Value(Key(type));
      }
    }
    if (!rule.scanned) AppendString(notScanned, rule.fileName);
    if ((rule.finalScanStatus & kUnscannable) != 0) AppendString(unscannable, rule.fileName);
  }

  Json::Value errors = ErrorsObject(info);

  if (detections.empty() && notScanned.empty() && unscannable.empty() && errors.empty()) {
    return false;
  }

  Json::Value content(Json::arrayValue);
  for (const auto& rule : info.content.rules) AppendString(content, rule.ruleName);
  Json::Value attachment(Json::arrayValue);
  for (const auto& rule : info.attachment.rules) {
    for (const auto& file : rule.filesMatched) AppendString(attachment, file.name);
  }
  Json::Value actions(Json::arrayValue);
  AppendMainActions(actions, info.antispam, kEmailActionNames);
  for (const auto& rule : info.antivirus.rules) {
    AppendOnce(actions, NameOf(kFileActionNames, rule.actionTaken));
  }
  AppendMainActions(actions, info.content, kEmailActionNames);
  AppendMainActions(actions, info.attachment, kAttachmentActionNames);
  AppendMainActions(actions, info.domainCheck, kEmailActionNames);

  Json::Value document(Json::objectValue);
  EnterpriseIntegration::SaveStringValue(info.messageId, document[Key("messageId")]);
  EnterpriseIntegration::SaveStringValue(info.subject, document[Key("subject")]);
  EnterpriseIntegration::SaveStringValue(info.senderConnection,
                                         document[Key("sentBy")][Key("connection")]);
  document[Key("detections")] = std::move(detections);
  document[Key("antivirus")] = std::move(threats);
  document[Key("content")] = std::move(content);
  document[Key("attachment")] = std::move(attachment);
  document[Key("actions")] = std::move(actions);
  document[Key("notScanned")] = std::move(notScanned);
  document[Key("errors")] = std::move(errors);
  document[Key("unscannable")] = std::move(unscannable);
  out = std::move(document);
  return true;
}

}  // namespace Reporting
