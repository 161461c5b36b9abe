#include "reporting/item_document.h"

#include "agent/json/json_primitives.h"
#include "frame/text_convert.h"
#include "agent/scan_status_names.h"
#include "reporting/scan_tables.h"

namespace Reporting {

using kel::nusdk::MailServers::ConnectionBlockedInfo;
using kel::nusdk::MailServers::ItemScanInfo;
using kel::nusdk::MailServers::RuleInfoHeader;
using Key = Json::StaticString;

namespace {

// Names and keys are string literals: jsoncpp keeps them without copying.
template <class Table>
void PutName(Json::Value& object, const char* key, const Table& table, int64_t code) {
  if (const char* name = NameOf(table, code)) object[Key(key)] = Json::Value(Key(name));
}

void PutString(Json::Value& object, const char* key, const kel::StringW& text) {
  EnterpriseIntegration::SaveStringValue(text, object[Key(key)]);
}

void PutStrings(Json::Value& object, const char* key, const kel::List<kel::StringW>& texts) {
  Json::Value& array = object[Key(key)] = Json::Value(Json::arrayValue);
  for (const kel::StringW& text : texts) {
    EnterpriseIntegration::SaveStringValue(text, array.append(Json::Value()));
  }
}

template <class Table>
void PutNames(Json::Value& object, const char* key, const Table& table,
              const kel::List<int32_t>& codes) {
  Json::Value& array = object[Key(key)] = Json::Value(Json::arrayValue);
  for (int32_t code : codes) {
    if (const char* name = NameOf(table, code)) array.append(Json::Value(Key(name)));
  }
}

void PutHeader(Json::Value& entry, const RuleInfoHeader& rule) {
  PutString(entry, "ruleName", rule.ruleName);
  entry[Key("stoppedProcessingMoreRules")] = rule.stoppedProcessingMoreRules;
  entry[Key("detectedWithoutScan")] = rule.detectedWithoutScan;
}

void PutRule(Json::Value& entry, const ItemScanInfo::Antispam::RuleInfo& rule) {
  PutHeader(entry, rule);
  entry[Key("spamScore")] = rule.spamScore;
  PutName(entry, "mainActionTaken", kEmailActionNames, rule.mainActionTaken);
  PutNames(entry, "secondaryActionsTaken", kAntispamSecondaryNames, rule.secondaryActionsTaken);
  entry[Key("spamLevel")] = rule.spamLevel;
}

void PutRule(Json::Value& entry, const ItemScanInfo::Antivirus::RuleInfo& rule) {
  PutHeader(entry, rule);
  entry[Key("scanned")] = rule.scanned;
  PutString(entry, "fileName", rule.fileName);
  entry[Key("isInArchive")] = rule.isInArchive;
  EnterpriseIntegration::SaveFlagsValue(rule.initialScanStatus,
                                        EnterpriseIntegration::kScanStatusNames.view(),
                                        entry[Key("initialScanStatus")]);
  EnterpriseIntegration::SaveFlagsValue(rule.finalScanStatus,
                                        EnterpriseIntegration::kScanStatusNames.view(),
                                        entry[Key("finalScanStatus")]);
  Json::Value& threats = entry[Key("threats")] = Json::Value(Json::arrayValue);
  for (const auto& threat : rule.threats) {
    Json::Value& written = threats.append(Json::Value(Json::objectValue));
    PutString(written, "name", threat.name);
    PutName(written, "type", kThreatTypeNames, threat.type);
  }
  PutName(entry, "actionTaken", kFileActionNames, rule.actionTaken);
  PutName(entry, "actionTakenOnParent", kFileActionNames, rule.actionTakenOnParent);
  PutString(entry, "quarantinedItemId", rule.quarantinedItemId);
}

void PutRule(Json::Value& entry, const ItemScanInfo::Content::RuleInfo& rule) {
  PutHeader(entry, rule);
  PutName(entry, "mainActionTaken", kEmailActionNames, rule.mainActionTaken);
  PutNames(entry, "secondaryActionsTaken", kContentSecondaryNames, rule.secondaryActionsTaken);
}

void PutRule(Json::Value& entry, const ItemScanInfo::Attachment::RuleInfo& rule) {
  PutHeader(entry, rule);
  PutName(entry, "mainActionTaken", kAttachmentActionNames, rule.mainActionTaken);
  PutNames(entry, "secondaryActionsTaken", kAttachmentSecondaryNames, rule.secondaryActionsTaken);
  Json::Value& files = entry[Key("filesMatched")] = Json::Value(Json::arrayValue);
  for (const auto& file : rule.filesMatched) {
    Json::Value& written = files.append(Json::Value(Json::objectValue));
    PutString(written, "name", file.name);
    written[Key("size")] = static_cast<Json::Int64>(file.size);
  }
}

void PutRule(Json::Value& entry, const ItemScanInfo::DomainCheck::RuleInfo& rule) {
  PutHeader(entry, rule);
  PutName(entry, "mainActionTaken", kEmailActionNames, rule.mainActionTaken);
  PutNames(entry, "secondaryActionsTaken", kDomainCheckSecondaryNames, rule.secondaryActionsTaken);
}

enum class RulesWhen { kAlways, kWithAction };

template <class Module>
void PutModule(Json::Value& document, const char* key, const Module& module, RulesWhen when) {
  if (module.rules.Count() == 0) return;
  const char* action = NameOf(kFileActionNames, module.action);
  if (!action && when == RulesWhen::kWithAction) return;
  Json::Value& written = document[Key(key)] = Json::Value(Json::objectValue);
  if (action) written[Key("action")] = Json::Value(Key(action));
  Json::Value& rules = written[Key("rulesMatched")] = Json::Value(Json::arrayValue);
  for (const auto& rule : module.rules) PutRule(rules.append(Json::Value(Json::objectValue)), rule);
}

}  // namespace

const wchar_t* ItemEventName(const ItemScanInfo& info) noexcept {
  const bool transport = info.onDemandTaskId.IsZero();
  if (info.objectType == 0) return transport ? kTransportEmailScanned : kOnDemandEmailScanned;
  return transport ? kTransportObjectScanned : kOnDemandObjectScanned;
}

void WriteItemDocument(const ItemScanInfo& info, Json::Value& out) {
  out = Json::Value(Json::objectValue);
  PutModule(out, "antispam", info.antispam, RulesWhen::kWithAction);
  PutModule(out, "antivirus", info.antivirus, RulesWhen::kAlways);
  PutModule(out, "content", info.content, RulesWhen::kAlways);
  PutModule(out, "attachment", info.attachment, RulesWhen::kAlways);
  PutModule(out, "domainCheck", info.domainCheck, RulesWhen::kAlways);

  const bool transport = info.onDemandTaskId.IsZero();
  if (!transport) {
    EnterpriseIntegration::SaveGuidValue(info.onDemandTaskId, out[Key("onDemandTaskId")]);
    PutString(out, "mailBox", info.mailbox);
    PutString(out, "folderPath", info.folderPath);
  }
  PutName(out, "actionTaken", kOutcomeNames, info.actionTaken);

  Json::Value errors = ErrorsObject(info);
  if (errors.size() != 0) out[Key("errors")] = std::move(errors);

  PutString(out, "subject", info.subject);
  out[Key("size")] = static_cast<Json::Int64>(info.size);

  if (info.objectType != 0) {
    PutName(out, "type", kObjectTypeNames, info.objectType);
    PutString(out, "fileName", info.fileName);
    return;
  }
  if (transport) out[Key("authenticated")] = info.authenticated;
  Json::Value& sentBy = out[Key("sentBy")];
  PutString(sentBy, "connection", info.senderConnection);
  PutString(sentBy, "email", info.senderEmail);
  Json::Value& sentTo = out[Key("sentTo")];
  PutStrings(sentTo, "connection", info.recipientConnections);
  PutStrings(sentTo, "email", info.recipientEmails);
  PutString(out, "messageId", info.messageId);
  PutString(out, "quarantinedItemID", info.quarantinedItemId);
  PutString(out[Key("sourceIP")], "connection", info.sourceIp);
  if (info.traffic != 0) {
    const char* name = NameOf(kTrafficNames, info.traffic);
    out[Key("traffic")] = Json::Value(Key(name ? name : kUnknownTraffic));
  }
}

Json::Value ErrorsObject(const ItemScanInfo& info) {
  Json::Value errors(Json::objectValue);
  for (const auto& error : info.errors) {
    if (error.value != 0) {
      errors[kel::Utf8FromWide(error.key.c_str(), error.key.Length())] = error.value;
    }
  }
  return errors;
}

void WriteConnectionBlockedDocument(const ConnectionBlockedInfo& info, Json::Value& out) {
  out = Json::Value(Json::objectValue);
  PutString(out, "senderEmail", info.senderEmail);
  out[Key("blockedBy")] = Json::Value(Key(info.blockedBy == 0 ? "senderBlacklist" : ""));
}

}  // namespace Reporting
