#include "reporting/detections_event.h"

#include <cstring>

#include "agent/json/json_primitives.h"

namespace Reporting {

using kel::nusdk::MailServers::ItemScanInfo;

namespace {

// Appends `name` unless it is null or already there.
void AppendOnce(std::vector<const char*>& names, const char* name) {
  if (!name) return;
  for (const char* present : names) {
    if (std::strcmp(present, name) == 0) return;
  }
  names.push_back(name);
}

template <class Module, class Table>
void AppendMainActions(std::vector<const char*>& actions, const Module& module,
                       const Table& table) {
  for (const auto& rule : module.rules) AppendOnce(actions, NameOf(table, rule.mainActionTaken));
}

void AddNames(const EnterpriseIntegration::NameTableView& table, Json::Value& names) {
  for (size_t i = 0; i < table.count; ++i) {
    const std::string name(table.rows[i].name);
    bool present = false;
    for (const Json::Value& known : names) present = present || known.asString() == name;
    if (!present) names.append(name);
  }
}

}  // namespace

bool ActionNamesCodec::Save(const std::vector<const char*>& names, Json::Value& out) const {
  out = Json::Value(Json::arrayValue);
  for (const char* name : names) out.append(Json::Value(Json::StaticString(name)));
  return true;
}

void ActionNamesCodec::Describe(SchemaDirection, Json::Value& out) const {
  out = EnterpriseIntegration::TypeSchema("array");
  out["uniqueItems"] = true;
  Json::Value& items = out["items"] = EnterpriseIntegration::TypeSchema("string");
  Json::Value& names = items["enum"] = Json::Value(Json::arrayValue);
  AddNames(kEmailActionNames.view(), names);
  AddNames(kAttachmentActionNames.view(), names);
  AddNames(kFileActionNames.view(), names);
}

bool WriteDetectionsDocument(const ItemScanInfo& info, Json::Value& out) {
  if (!info.onDemandTaskId.IsZero() || info.objectType != 0) return false;

  DetectionsDocument document;
  if (info.antispam.rules.Count() != 0) document.detections.EmplaceBack(0);
  if (info.antivirus.rules.Count() != 0) document.detections.EmplaceBack(1);
  if (info.content.rules.Count() != 0) document.detections.EmplaceBack(2);
  if (info.attachment.rules.Count() != 0) document.detections.EmplaceBack(3);
  if (info.domainCheck.rules.Count() != 0) document.detections.EmplaceBack(4);

  constexpr uint32_t kUnscannable = kel::nusdk::MailServers::kScanStatusScanFailed |
                                    kel::nusdk::MailServers::kScanStatusPasswordProtected;
  for (const auto& rule : info.antivirus.rules) {
    for (const auto& threat : rule.threats) document.threats.EmplaceBack(threat);
    if (!rule.scanned) document.notScanned.EmplaceBack(rule.fileName);
    if ((rule.finalScanStatus & kUnscannable) != 0) document.unscannable.EmplaceBack(rule.fileName);
  }

  if (document.detections.IsEmpty() && document.notScanned.IsEmpty() &&
      document.unscannable.IsEmpty() && !HasErrors(info)) {
    return false;
  }

  for (const auto& rule : info.content.rules) document.content.EmplaceBack(rule.ruleName);
  for (const auto& rule : info.attachment.rules) {
    for (const auto& file : rule.filesMatched) document.attachment.EmplaceBack(file.name);
  }
  AppendMainActions(document.actions, info.antispam, kEmailActionNames);
  for (const auto& rule : info.antivirus.rules) {
    AppendOnce(document.actions, NameOf(kFileActionNames, rule.actionTaken));
  }
  AppendMainActions(document.actions, info.content, kEmailActionNames);
  AppendMainActions(document.actions, info.attachment, kAttachmentActionNames);
  AppendMainActions(document.actions, info.domainCheck, kEmailActionNames);
  document.messageId = info.messageId;
  document.subject = info.subject;
  document.senderConnection = info.senderConnection;
  document.errors = info.errors;

  Json::Value written;
  if (!EnterpriseIntegration::JsonSerializer<DetectionsDocument>::Save(written, document))
    return false;
  out = std::move(written);
  return true;
}

}  // namespace Reporting
