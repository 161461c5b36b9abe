#include "reporting/item_document.h"

#include "agent/json/json_primitives.h"

namespace Reporting {

using EnterpriseIntegration::JsonSerializer;
using kel::nusdk::MailServers::ConnectionBlockedInfo;
using kel::nusdk::MailServers::ItemScanInfo;

const wchar_t* ItemEventName(const ItemScanInfo& info) noexcept {
  const bool transport = info.onDemandTaskId.IsZero();
  if (info.objectType == 0) return transport ? kTransportEmailScanned : kOnDemandEmailScanned;
  return transport ? kTransportObjectScanned : kOnDemandObjectScanned;
}

void WriteItemDocument(const ItemScanInfo& info, Json::Value& out) {
  out = Json::Value(Json::objectValue);
  JsonSerializer<ItemScanInfo>::Save(out, info);
}

void WriteConnectionBlockedDocument(const ConnectionBlockedInfo& info, Json::Value& out) {
  out = Json::Value(Json::objectValue);
  JsonSerializer<ConnectionBlockedInfo>::Save(out, info);
}

bool NameListCodec::Save(const kel::List<int32_t>& codes, Json::Value& out) const {
  out = Json::Value(Json::arrayValue);
  for (int32_t code : codes) {
    Json::Value name;
    if (EnterpriseIntegration::SaveEnumValue(static_cast<uint32_t>(code), table, name))
      out.append(std::move(name));
  }
  return true;
}

void NameListCodec::Describe(SchemaDirection, Json::Value& out) const {
  out = EnterpriseIntegration::TypeSchema("array");
  out["items"] = EnterpriseIntegration::EnumSchema(table);
}

bool TrafficCodec::Save(uint32_t traffic, Json::Value& out) const {
  if (!EnterpriseIntegration::SaveEnumValue(traffic, kTrafficNames.view(), out))
    out = kUnknownTraffic;
  return true;
}

void TrafficCodec::Describe(SchemaDirection, Json::Value& out) const {
  out = EnterpriseIntegration::EnumSchema(kTrafficNames.view());
  out["enum"].append(kUnknownTraffic);
}

bool ErrorCountCodec::Save(int32_t count, Json::Value& out) const {
  if (count == 0) return false;
  out = Json::Value(count);
  return true;
}

void ErrorCountCodec::Describe(SchemaDirection direction, Json::Value& out) const {
  EnterpriseIntegration::DescribeCodec(EnterpriseIntegration::IntegerCodec<int32_t>(), direction,
                                       out);
  out["not"]["const"] = 0;
}

bool HasErrors(const ItemScanInfo& info) noexcept {
  for (const auto& error : info.errors) {
    if (error.value != 0) return true;
  }
  return false;
}

bool BlockedByCodec::Save(int32_t reason, Json::Value& out) const {
  out = reason == 0 ? "senderBlacklist" : "";
  return true;
}

void BlockedByCodec::Describe(SchemaDirection, Json::Value& out) const {
  out = EnterpriseIntegration::TypeSchema("string");
  out["enum"].append("senderBlacklist");
  out["enum"].append("");
}

bool AntispamWritten(const ItemScanInfo& info) noexcept {
  return info.antispam.rules.Count() != 0 && NameOf(kFileActionNames, info.antispam.action);
}

bool OnDemand(const ItemScanInfo& info) noexcept { return !info.onDemandTaskId.IsZero(); }

bool IsObject(const ItemScanInfo& info) noexcept { return info.objectType != 0; }

bool IsEmail(const ItemScanInfo& info) noexcept { return info.objectType == 0; }

bool IsTransportEmail(const ItemScanInfo& info) noexcept {
  return IsEmail(info) && !OnDemand(info);
}

bool HasTraffic(const ItemScanInfo& info) noexcept { return IsEmail(info) && info.traffic != 0; }

}  // namespace Reporting
