#include "transport/rule_schema.h"

namespace EnterpriseIntegration {
namespace {

using StringList = kel::List<kel::StringW>;

bool Present(const JsonNodeRef& at, const char* key) { return !JsonNodeRef(at, key).IsAbsent(); }

bool LoadListIfPresent(const JsonNodeRef& at, const char* key, StringList& out) {
  return !Present(at, key) || JsonComposedSerializer::Load(at, key, out);
}

void SaveList(const StringList& list, const char* key, Json::Value& out) {
  DefaultCodecOf<StringList>().Save(list, out[key]);
}

}  // namespace

bool ConditionCodec::Load(const JsonNodeRef& at, kel::nusdk::MailServers::Condition& out) const {
  if (at.IsAbsent() || !at.node()->isObject()) return false;
  if (!JsonComposedSerializer::Load(at, json_keys::kConsider, out.consider,
                                    rules::kAddressFormNames))
    return false;
  // "users" wins; "emails" is read only in its absence.
  const char* usersKey = Present(at, json_keys::kUsers) ? json_keys::kUsers : json_keys::kEmails;
  return LoadListIfPresent(at, usersKey, out.users) &&
         LoadListIfPresent(at, json_keys::kGroups, out.groups) &&
         LoadListIfPresent(at, json_keys::kWildcards, out.wildcards) &&
         LoadListIfPresent(at, json_keys::kDomains, out.domains);
}

bool ConditionCodec::Save(const kel::nusdk::MailServers::Condition& value, Json::Value& out) const {
  out = Json::Value(Json::objectValue);
  SaveFlagsValue(value.consider, rules::kAddressFormNames.view(), out[json_keys::kConsider]);
  SaveList(value.users, json_keys::kEmails, out);
  SaveList(value.groups, json_keys::kGroups, out);
  SaveList(value.wildcards, json_keys::kWildcards, out);
  SaveList(value.domains, json_keys::kDomains, out);
  return true;
}

void ConditionCodec::Describe(SchemaDirection direction, Json::Value& out) const {
  out = detail::ObjectSchema(direction);
  const bool input = direction == SchemaDirection::kInput;
  Json::Value& properties = out["properties"];
  properties[json_keys::kConsider] = FlagsSchema(rules::kAddressFormNames.view(), direction);
  out["required"].append(json_keys::kConsider);
  Json::Value list;
  DescribeCodec(DefaultCodecOf<StringList>(), direction, list);
  const char* const lists[] = {json_keys::kEmails, json_keys::kGroups, json_keys::kWildcards,
                               json_keys::kDomains};
  for (const char* key : lists) {
    properties[key] = list;
    if (!input) out["required"].append(key);
  }
  if (input) {
    properties[json_keys::kUsers] = list;
    AddDescription(properties[json_keys::kUsers], "Read instead of \"emails\" when present.");
  }
}

}  // namespace EnterpriseIntegration
