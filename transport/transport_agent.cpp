#include "transport/transport_agent.h"

#include <string>

#include "agent/json/json_serializer.h"
#include "agent/result_codes.h"
#include "transport/antispam/antispam_schema.h"
#include "transport/antivirus/antivirus_schema.h"
#include "transport/attachment/attachment_schema.h"
#include "transport/content/content_schema.h"
#include "transport/domaincheck/domaincheck_schema.h"

namespace Transport {

using EnterpriseIntegration::Handle;
using EnterpriseIntegration::JsonComposedSerializer;
using EnterpriseIntegration::JsonNodeRef;
using EnterpriseIntegration::JsonSerializer;
using EnterpriseIntegration::ServPlugin;
namespace result = kel::result;
namespace json_keys = EnterpriseIntegration::json_keys;

namespace {

// The reserved entries of "keys" that stand for the two flags.
constexpr wchar_t kLocalKey[] = L"<local>";
constexpr wchar_t kDomainKey[] = L"<domain>";

constexpr uint32_t kConfigurationChanged = 1;

// Plug-in answers that mean the transport service cannot work.
bool MarksNotFunctioning(uint32_t code) { return code == 1229 || code == 2250; }

// The output of a getter must be an object, or nothing yet, to take keys at its root.
bool WritableRoot(const Json::Value& output) { return output.isNull() || output.isObject(); }

}  // namespace

Agent::Agent(const wchar_t* agentName)
    : EnterpriseIntegration::Agent<ms::Transport::ITransport>(agentName, L"Transport::Agent"),
      antivirus_(ms::Antivirus::kComponentName),
      antispam_(ms::Antispam::kComponentName),
      attachment_(ms::Attachment::kComponentName),
      content_(ms::Content::kComponentName),
      domainCheck_(ms::DomainCheck::kComponentName) {}

Agent::~Agent() {
  ReleaseFilters();
  ReleasePlugin();
}

EnterpriseIntegration::PolicyMethodTable Agent::PolicyMethods() const {
  static constexpr EnterpriseIntegration::PolicyMethodEntry kMethods[] = {
      {L"GetDenyMessage", Handle<&Agent::GetDenyMessage>},
      {L"SetDenyMessage", Handle<&Agent::SetDenyMessage>},
      {L"SetExclusionKeys", Handle<&Agent::SetExclusionKeys>},
      {L"GetExclusionKeys", Handle<&Agent::GetExclusionKeys>},
      {L"SetAntispamRules", Handle<&Agent::SetAntispamRules>},
      {L"GetAntispamRules", Handle<&Agent::GetAntispamRules>},
      {L"SetAntivirusRules", Handle<&Agent::SetAntivirusRules>},
      {L"GetAntivirusRules", Handle<&Agent::GetAntivirusRules>},
      {L"SetAttachmentRules", Handle<&Agent::SetAttachmentRules>},
      {L"GetAttachmentRules", Handle<&Agent::GetAttachmentRules>},
      {L"SetContentRules", Handle<&Agent::SetContentRules>},
      {L"GetContentRules", Handle<&Agent::GetContentRules>},
      {L"SetDomainCheckRules", Handle<&Agent::SetDomainCheckRules>},
      {L"GetDomainCheckRules", Handle<&Agent::GetDomainCheckRules>},
  };
  return kMethods;
}

uint32_t Agent::Init(IServMain* main) {
  ReleaseFilters();
  const uint32_t code = EnterpriseIntegration::Agent<ms::Transport::ITransport>::Init(main);
  if (code != result::kSuccess) return code;
  try {
    IComponentManager* components = main->GetComponentManager();
    antivirus_.GetPlugin(components);
    antispam_.GetPlugin(components);
    attachment_.GetPlugin(components);
    content_.GetPlugin(components);
    domainCheck_.GetPlugin(components);
  } catch (...) {
    ReleaseFilters();
  }
  return result::kSuccess;
}

void Agent::Uninit() {
  ReleaseFilters();
  EnterpriseIntegration::Agent<ms::Transport::ITransport>::Uninit();
}

void Agent::ReleaseFilters() {
  antivirus_.Release();
  antispam_.Release();
  attachment_.Release();
  content_.Release();
  domainCheck_.Release();
}

bool Agent::IsFunctioning() {
  try {
    ms::Transport::ITransport* transport = plugin();
    if (!transport) return false;
    kel::StringW message;
    return !MarksNotFunctioning(transport->GetDenyMessage(message));
  } catch (...) {
    return false;
  }
}

template <class Plugin, class RuleSet>
void Agent::ReportFeature(ServPlugin<Plugin>& filter, const wchar_t* feature,
                          IFeatureStateSink& sink) {
  if (!filter) return;
  RuleSet rules;
  const bool enabled = filter->GetRules(rules) == result::kSuccess && rules.enabled;
  sink.ReportFeature(feature, enabled);
}

uint32_t Agent::ReportFeatureStates(IFeatureStateSink* sink) {
  if (!sink) return result::kBadArguments;
  try {
    // Domain check is not a reported feature.
    ReportFeature<ms::Antivirus::IAntivirus, ms::Antivirus::TransportRuleSet>(
        antivirus_, L"MailServers.Transport.Antivirus", *sink);
    ReportFeature<ms::Antispam::IAntispam, ms::Antispam::RuleSet>(
        antispam_, L"MailServers.Transport.Antispam", *sink);
    ReportFeature<ms::Attachment::IAttachment, ms::Attachment::RuleSet>(
        attachment_, L"MailServers.Transport.Attachment", *sink);
    ReportFeature<ms::Content::IContent, ms::Content::RuleSet>(
        content_, L"MailServers.Transport.Content", *sink);
    return result::kSuccess;
  } catch (...) {
    return result::kInternalError;
  }
}

bool Agent::GetDenyMessage(IPolicyMethod& method) {
  kel::StringW message;
  const uint32_t code = plugin()->GetDenyMessage(message);
  method.SetResult(code);
  if (code == result::kSuccess)
    JsonSerializer<kel::StringW>::Save((*method.GetOutput())[json_keys::kMessage], message);
  return true;
}

// Three parts in, one string to the plug-in: "code enhancedCode text". It is
// read back as that one string, never split again.
bool Agent::SetDenyMessage(IPolicyMethod& method) {
  const JsonNodeRef input(method.GetInput());
  kel::StringW code, enhancedCode, text;
  if (!JsonComposedSerializer::Load(input, json_keys::kMessageCode, code) ||
      !JsonComposedSerializer::Load(input, json_keys::kMessageEnhancedCode, enhancedCode) ||
      !JsonComposedSerializer::Load(input, json_keys::kMessageText, text))
    return false;
  kel::StringW message(code);
  message += L" ";
  message += enhancedCode;
  message += L" ";
  message += text;
  method.SetResult(plugin()->SetDenyMessage(message));
  return true;
}

bool Agent::SetExclusionKeys(IPolicyMethod& method) {
  kel::List<kel::StringW> entries;
  if (!JsonComposedSerializer::Load(JsonNodeRef(method.GetInput()), json_keys::kKeys, entries))
    return false;
  ms::Transport::ExclusionKeys keys;
  for (auto e = kel::EnumPtr<kel::IConstListEnum<kel::StringW>>(entries.NewConstEnum());
       e->HasCurrent(); e->Advance()) {
    const kel::StringW& entry = *e->Current();
    // Exact matches only: "<LOCAL>" is an ordinary key.
    if (entry == kLocalKey)
      keys.local = 1;
    else if (entry == kDomainKey)
      keys.domain = 1;
    else
      keys.keys.AddBack(entry);
  }
  method.SetResult(plugin()->SetExclusionKeys(keys));
  return true;
}

bool Agent::GetExclusionKeys(IPolicyMethod& method) {
  ms::Transport::ExclusionKeys keys;
  const uint32_t code = plugin()->GetExclusionKeys(keys);
  method.SetResult(code);
  if (code != result::kSuccess) return true;
  if (keys.local) keys.keys.AddBack(kLocalKey);
  if (keys.domain) keys.keys.AddBack(kDomainKey);
  JsonSerializer<kel::List<kel::StringW>>::Save((*method.GetOutput())[json_keys::kKeys], keys.keys);
  return true;
}

template <class Plugin, class RuleSet>
bool Agent::SetRules(ServPlugin<Plugin>& filter, IPolicyMethod& method) {
  if (!filter) return false;
  RuleSet rules;
  if (!JsonSerializer<RuleSet>::Load(JsonNodeRef(method.GetInput()), rules)) return false;
  method.SetResult(filter->SetRules(rules));
  // Whatever the plug-in answered: the manager re-reads what is in force.
  if (EnterpriseIntegration::IManager* manager = this->manager())
    manager->NotifyConfigurationChanged(kConfigurationChanged);
  return true;
}

template <class Plugin, class RuleSet>
bool Agent::GetRules(ServPlugin<Plugin>& filter, IPolicyMethod& method) {
  if (!filter) return false;
  RuleSet rules;
  const uint32_t code = filter->GetRules(rules);
  method.SetResult(code);
  if (code != result::kSuccess) return true;
  Json::Value& output = *method.GetOutput();
  Json::Value document;
  if (!WritableRoot(output) || !JsonSerializer<RuleSet>::Save(document, rules)) {
    method.SetResult(result::kInternalError);
    output = Json::Value();
    return true;
  }
  for (const char* key : {json_keys::kEnabled, json_keys::kRules})
    output[key] = std::move(document[key]);
  return true;
}

bool Agent::SetAntispamRules(IPolicyMethod& m) {
  return SetRules<ms::Antispam::IAntispam, ms::Antispam::RuleSet>(antispam_, m);
}
bool Agent::GetAntispamRules(IPolicyMethod& m) {
  return GetRules<ms::Antispam::IAntispam, ms::Antispam::RuleSet>(antispam_, m);
}
bool Agent::SetAntivirusRules(IPolicyMethod& m) {
  return SetRules<ms::Antivirus::IAntivirus, ms::Antivirus::TransportRuleSet>(antivirus_, m);
}
bool Agent::GetAntivirusRules(IPolicyMethod& m) {
  return GetRules<ms::Antivirus::IAntivirus, ms::Antivirus::TransportRuleSet>(antivirus_, m);
}
bool Agent::SetAttachmentRules(IPolicyMethod& m) {
  return SetRules<ms::Attachment::IAttachment, ms::Attachment::RuleSet>(attachment_, m);
}
bool Agent::GetAttachmentRules(IPolicyMethod& m) {
  return GetRules<ms::Attachment::IAttachment, ms::Attachment::RuleSet>(attachment_, m);
}
bool Agent::SetContentRules(IPolicyMethod& m) {
  return SetRules<ms::Content::IContent, ms::Content::RuleSet>(content_, m);
}
bool Agent::GetContentRules(IPolicyMethod& m) {
  return GetRules<ms::Content::IContent, ms::Content::RuleSet>(content_, m);
}
bool Agent::SetDomainCheckRules(IPolicyMethod& m) {
  return SetRules<ms::DomainCheck::IDomainCheck, ms::DomainCheck::RuleSet>(domainCheck_, m);
}
bool Agent::GetDomainCheckRules(IPolicyMethod& m) {
  return GetRules<ms::DomainCheck::IDomainCheck, ms::DomainCheck::RuleSet>(domainCheck_, m);
}

}  // namespace Transport
