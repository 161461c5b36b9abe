#include "quarantine/item_writer.h"

#include <cstdint>
#include <utility>
#include <vector>

#include "agent/json/json_primitives.h"
#include "quarantine/item_names.h"

namespace QuarantineAgent {

namespace {

using EnterpriseIntegration::NameTableView;
using EnterpriseIntegration::SaveEnumValue;
using EnterpriseIntegration::SaveFlagsValue;
using EnterpriseIntegration::SaveStringValue;

void PutString(Json::Value& object, const char* key, const kel::StringW& text) {
  SaveStringValue(text, object[key]);
}

void PutStrings(Json::Value& object, const char* key, const kel::List<kel::StringW>& texts) {
  Json::Value& array = object[key] = Json::Value(Json::arrayValue);
  Json::ArrayIndex i = 0;
  for (const kel::StringW& text : texts) SaveStringValue(text, array[i++]);
}

// A code without a name leaves its key out, and that fails the item.
bool PutName(Json::Value& object, const char* key, int32_t code, const NameTableView& names) {
  Json::Value name;
  if (!SaveEnumValue(static_cast<uint32_t>(code), names, name)) return false;
  object[key] = std::move(name);
  return true;
}

bool WriteDetectionPoint(const Data& item, Json::Value& out) {
  const auto& point = item.detectionPoint;
  Json::Value written(Json::objectValue);
  if (!PutName(written, "location", point.location, kLocationNames.view())) return false;
  if (point.location == q::kLocationOnDemand) {
    PutString(written, "mailbox", point.mailbox);
    PutString(written, "folder", point.folder);
    PutString(written, "task", point.task);
  }
  out["detectionPoint"] = std::move(written);
  return true;
}

bool WriteModuleSection(const Data& item, Json::Value& out) {
  switch (item.module) {
    case q::kModuleAntivirus: {
      Json::Value& section = out["Antivirus"] = Json::Value(Json::objectValue);
      PutString(section, "detected", item.antivirusDetected);
      if (!PutName(section, "reason", item.antivirusReason, kReasonNames.view())) return false;
      PutString(section, "file", item.antivirusFile);
      SaveFlagsValue(item.antivirusStatus, EnterpriseIntegration::kScanStatusNames.view(), section["status"]);
      return true;
    }
    case q::kModuleAttachment: {
      Json::Value& section = out["Attachment"] = Json::Value(Json::objectValue);
      PutString(section, "detected", item.attachmentDetected);
      return true;
    }
    default:
      return true;
  }
}

// One part's own keys; "childParts" is filled by the walk.
void WritePartFields(const MailPartInfo& part, Json::Value& out) {
  Json::Value& headers = out["headers"] = Json::Value(Json::arrayValue);
  Json::ArrayIndex i = 0;
  for (const MailPartInfo::HeaderField& field : part.headers) {
    Json::Value& header = headers[i++] = Json::Value(Json::objectValue);
    PutString(header, "name", field.name);
    PutString(header, "value", field.value);
  }
  PutString(out, "name", part.name);
  PutString(out, "contentType", part.contentType);
  PutString(out, "body", part.body);
}

template <class Item>
bool WriteItemArray(const kel::List<Item>& items, Json::Value& out) {
  out = Json::Value(Json::arrayValue);
  Json::ArrayIndex i = 0;
  for (const Item& item : items) {
    if (!WriteItem(item, out[i++])) return false;
  }
  return true;
}

}  // namespace

bool WriteItem(const Data& item, Json::Value& out) {
  out = Json::Value(Json::objectValue);
  if (!WriteDetectionPoint(item, out)) return false;
  PutString(out, "id", item.id);
  if (!PutName(out, "module", item.module, kModuleNames.view())) return false;
  PutString(out, "rule", item.rule);
  out["size"] = Json::Value(static_cast<Json::UInt64>(item.size));
  PutString(out, "sourceIP", item.sourceIP);
  PutString(out, "subject", item.subject);
  out["when"] = Json::Value(static_cast<Json::Int64>(item.when));
  Json::Value& sentBy = out["sentBy"] = Json::Value(Json::objectValue);
  PutString(sentBy, "connection", item.senderConnection);
  PutString(sentBy, "email", item.senderEmail);
  Json::Value& sentTo = out["sentTo"] = Json::Value(Json::objectValue);
  PutStrings(sentTo, "connection", item.recipientConnections);
  PutStrings(sentTo, "email", item.recipientEmails);
  PutString(out, "contentType", item.contentType);
  return WriteModuleSection(item, out);
}

bool WriteItem(const DataEx& item, Json::Value& out) {
  if (!WriteItem(static_cast<const Data&>(item), out)) return false;
  Json::Value part;
  if (!WriteMailPart(item.mainPart, part)) return false;
  out["mainPart"] = std::move(part);
  return true;
}

bool WriteMailPart(const MailPartInfo& part, Json::Value& out) {
  struct Pending {
    const MailPartInfo* part;
    Json::Value* target;
    size_t depth;
  };
  // Element addresses of a jsoncpp array stay valid while it grows (1.9.5
  // keeps elements in a map), so targets can be handed out before they are
  // filled.
  Json::Value written(Json::objectValue);
  std::vector<Pending> pending{{&part, &written, 1}};
  while (!pending.empty()) {
    const Pending next = pending.back();
    pending.pop_back();
    if (next.depth > kMaxPartDepth) return false;
    Json::Value& target = *next.target = Json::Value(Json::objectValue);
    WritePartFields(*next.part, target);
    Json::Value& children = target["childParts"] = Json::Value(Json::arrayValue);
    if (next.part->childParts.IsEmpty()) continue;
    children.resize(static_cast<Json::ArrayIndex>(next.part->childParts.Count()));
    Json::ArrayIndex i = 0;
    for (const MailPartInfo& child : next.part->childParts)
      pending.push_back({&child, &children[i++], next.depth + 1});
  }
  out = std::move(written);
  return true;
}

bool WriteItems(const kel::List<Data>& items, Json::Value& out) {
  return WriteItemArray(items, out);
}

bool WriteItems(const kel::List<DataEx>& items, Json::Value& out) {
  return WriteItemArray(items, out);
}

void ReleaseChildParts(MailPartInfo& part) noexcept {
  // Each list taken out of the tree is freed only once its elements have
  // given up their own children, so no destructor ever goes deeper than one
  // level. If the work list cannot grow, what is left is freed the ordinary
  // way: a tree that deep and a machine that full leave no better choice.
  try {
    std::vector<kel::List<MailPartInfo>> lists;
    lists.push_back(std::move(part.childParts));
    while (!lists.empty()) {
      kel::List<MailPartInfo> list = std::move(lists.back());
      lists.pop_back();
      for (MailPartInfo& child : list) {
        if (!child.childParts.IsEmpty()) lists.push_back(std::move(child.childParts));
      }
    }
  } catch (...) {
  }
}

}  // namespace QuarantineAgent
