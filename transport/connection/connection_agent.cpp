#include "transport/connection/connection_agent.h"

#include "agent/policy_answer.h"
#include "transport/connection/connection_schema.h"

namespace ConnectionFilter {
namespace {

using EnterpriseIntegration::Answer;
using EnterpriseIntegration::Handle;
using EnterpriseIntegration::kInputOf;
using EnterpriseIntegration::kNoInput;
using EnterpriseIntegration::kNoOutput;
using EnterpriseIntegration::kOutputOf;
using EnterpriseIntegration::LoadInput;
using EnterpriseIntegration::SchemaDirection;
using kel::nusdk::MailServers::Connection::SenderBlackList;
namespace json_keys = EnterpriseIntegration::json_keys;

// SetSenderBlackList's two forms: {"entries": [...]} or the list itself.
void WriteBlackListInput(Json::Value& schema) {
  Json::Value entries;
  EnterpriseIntegration::kInputAt<json_keys::kEntries, kel::List<kel::StringW>>.write(entries);
  entries.removeMember("$schema");
  Json::Value full = EnterpriseIntegration::SchemaOf<SenderBlackList>(SchemaDirection::kInput);
  full.removeMember("$schema");
  schema = EnterpriseIntegration::EitherSchema(std::move(entries), std::move(full));
  schema["$schema"] = EnterpriseIntegration::kSchemaDialect;
  EnterpriseIntegration::AddDescription(schema, "With \"entries\" present, only it is read.");
}
constexpr auto kBlackListInput = EnterpriseIntegration::SchemaShape(&WriteBlackListInput);
constexpr auto kBlackListOutput = kOutputOf<SenderBlackList>;

}  // namespace

ConnectionAgent::ConnectionAgent()
    : Agent(kel::nusdk::MailServers::Connection::kComponentName,
            L"ConnectionFilter::ConnectionAgent") {}

EnterpriseIntegration::PolicyMethodTable ConnectionAgent::PolicyMethods() const {
  // The long names begin with "MailServers.ConnectionFilter", which the prefix
  // strip ("MailServers.Connection" and ".") leaves as it is, so they are
  // matched whole; the short names are matched bare or behind the prefix.
  static constexpr EnterpriseIntegration::PolicyMethodEntry kMethods[] = {
      {L"MailServers.ConnectionFilter.SenderBlackList.GetList",
       Handle<&ConnectionAgent::GetSenderBlackList>, kNoInput, kBlackListOutput},
      {L"MailServers.ConnectionFilter.SenderBlackList.SetList",
       Handle<&ConnectionAgent::SetSenderBlackList>, kBlackListInput, kNoOutput},
      {L"MailServers.ConnectionFilter.SenderBlackList.IsEnabled",
       Handle<&ConnectionAgent::IsSenderBlackListEnabled>, kNoInput, kOutputOf<Switch>},
      {L"MailServers.ConnectionFilter.SenderBlackList.SetEnabled",
       Handle<&ConnectionAgent::SetSenderBlackListEnabled>, kInputOf<Switch>, kNoOutput},
      {L"MailServers.ConnectionFilter.SetEnabled", Handle<&ConnectionAgent::SetEnabled>,
       kInputOf<Switch>, kNoOutput},
      {L"MailServers.ConnectionFilter.IsEnabled", Handle<&ConnectionAgent::IsEnabled>, kNoInput,
       kOutputOf<Switch>},
      {L"GetSenderBlackList", Handle<&ConnectionAgent::GetSenderBlackList>, kNoInput,
       kBlackListOutput},
      {L"SetSenderBlackList", Handle<&ConnectionAgent::SetSenderBlackList>, kBlackListInput,
       kNoOutput},
      {L"IsSenderBlackListEnabled", Handle<&ConnectionAgent::IsSenderBlackListEnabled>, kNoInput,
       kOutputOf<Switch>},
      {L"SetSenderBlackListEnabled", Handle<&ConnectionAgent::SetSenderBlackListEnabled>,
       kInputOf<Switch>, kNoOutput},
      {L"IsEnabled", Handle<&ConnectionAgent::IsEnabled>, kNoInput, kOutputOf<Switch>},
      {L"SetEnabled", Handle<&ConnectionAgent::SetEnabled>, kInputOf<Switch>, kNoOutput},
  };
  return kMethods;
}

void ConnectionAgent::ReportNames(INameSink* sink) {
  if (!sink) return;
  try {
    for (const wchar_t* name : kReportedNames) sink->AddName(name);
  } catch (...) {
  }
}

bool ConnectionAgent::SetSwitch(IPolicyMethod& method, uint32_t (IConnection::*set)(bool)) {
  Switch input;
  if (!LoadInput(method, input)) return false;
  method.SetResult((plugin()->*set)(input.enabled != 0));
  return true;
}

bool ConnectionAgent::ReadSwitch(IPolicyMethod& method, uint32_t (IConnection::*get)(bool&)) {
  bool enabled = false;
  const uint32_t code = (plugin()->*get)(enabled);
  Answer(method, code, Switch{static_cast<uint8_t>(enabled ? 1 : 0)});
  return true;
}

bool ConnectionAgent::SetEnabled(IPolicyMethod& method) {
  return SetSwitch(method, &IConnection::SetEnabled);
}

bool ConnectionAgent::IsEnabled(IPolicyMethod& method) {
  return ReadSwitch(method, &IConnection::IsEnabled);
}

bool ConnectionAgent::SetSenderBlackListEnabled(IPolicyMethod& method) {
  return SetSwitch(method, &IConnection::SetSenderBlackListEnabled);
}

bool ConnectionAgent::IsSenderBlackListEnabled(IPolicyMethod& method) {
  return ReadSwitch(method, &IConnection::IsSenderBlackListEnabled);
}

// Two input forms: "entries", a plain list in which every entry is an exact
// address (a "*" in one is not looked at: the plug-in owns the matching), or
// the full form with "emails" and "wildcards". "entries" wins when both are there.
bool ConnectionAgent::SetSenderBlackList(IPolicyMethod& method) {
  SenderBlackList list;
  if (!EnterpriseIntegration::JsonNodeRef(EnterpriseIntegration::JsonNodeRef(method.GetInput()),
                                          json_keys::kEntries)
           .IsAbsent()) {
    if (!LoadInput(method, json_keys::kEntries, list.emails)) return false;
  } else if (!LoadInput(method, list)) {
    return false;
  }
  method.SetResult(plugin()->SetSenderBlackList(list));
  return true;
}

bool ConnectionAgent::GetSenderBlackList(IPolicyMethod& method) {
  SenderBlackList list;
  const uint32_t code = plugin()->GetSenderBlackList(list);
  Answer(method, code, list);
  return true;
}

}  // namespace ConnectionFilter
