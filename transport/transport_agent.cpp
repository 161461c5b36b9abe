#include "transport/transport_agent.h"

#include <string>

#include "agent/json/json_serializer.h"
#include "agent/keyword_entries.h"
#include "agent/policy_answer.h"
#include "frame/result_codes.h"
#include "agent/rule_set_methods.h"
#include "transport/antispam/antispam_schema.h"
#include "transport/antivirus/antivirus_schema.h"
#include "transport/attachment/attachment_schema.h"
#include "transport/content/content_schema.h"
#include "transport/domaincheck/domaincheck_schema.h"

namespace Transport {
namespace {

// SetDenyMessage's three parts.
struct DenyMessageParts {
  kel::StringW code;
  kel::StringW enhancedCode;
  kel::StringW text;
};

}  // namespace
}  // namespace Transport

namespace EnterpriseIntegration {

// clang-format off
template <>
struct JsonSchema<Transport::DenyMessageParts> : JsonSchemaBase<Transport::DenyMessageParts> {
  using S = Transport::DenyMessageParts;
  static constexpr auto kFields = Fields(
      Required(json_keys::kMessageCode,         &S::code),
      Required(json_keys::kMessageEnhancedCode, &S::enhancedCode),
      Required(json_keys::kMessageText,         &S::text));
};
// clang-format on

}  // namespace EnterpriseIntegration

namespace Transport {

using EnterpriseIntegration::AnswerAt;
using EnterpriseIntegration::Handle;
using EnterpriseIntegration::kInputAt;
using EnterpriseIntegration::kInputOf;
using EnterpriseIntegration::kNoInput;
using EnterpriseIntegration::kNoOutput;
using EnterpriseIntegration::kOutputAt;
using EnterpriseIntegration::kOutputOf;
using EnterpriseIntegration::LoadInput;
using EnterpriseIntegration::ServPlugin;
constexpr auto kOptional = EnterpriseIntegration::PluginNeed::kOptional;
namespace result = kel::result;
namespace json_keys = EnterpriseIntegration::json_keys;

namespace {

// The reserved entries of "keys" that stand for the two flags.
constexpr wchar_t kLocalKey[] = L"<local>";
constexpr wchar_t kDomainKey[] = L"<domain>";

constexpr uint32_t kConfigurationChanged = 1;

// Plug-in answers that mean the transport service cannot work.
bool MarksNotFunctioning(uint32_t code) { return code == 1229 || code == 2250; }

}  // namespace

Agent::Agent(const wchar_t* agentName)
    : EnterpriseIntegration::Agent<ms::Transport::ITransport>(agentName, L"Transport::Agent"),
      antivirus_(DeclarePlugin<ms::Antivirus::IAntivirus>(ms::Antivirus::kComponentName, kOptional)),
      antispam_(DeclarePlugin<ms::Antispam::IAntispam>(ms::Antispam::kComponentName, kOptional)),
      attachment_(
          DeclarePlugin<ms::Attachment::IAttachment>(ms::Attachment::kComponentName, kOptional)),
      content_(DeclarePlugin<ms::Content::IContent>(ms::Content::kComponentName, kOptional)),
      domainCheck_(DeclarePlugin<ms::DomainCheck::IDomainCheck>(ms::DomainCheck::kComponentName,
                                                                kOptional)) {}

EnterpriseIntegration::PolicyMethodTable Agent::PolicyMethods() const {
  static constexpr EnterpriseIntegration::PolicyMethodEntry kMethods[] = {
      {L"GetDenyMessage", Handle<&Agent::GetDenyMessage>, kNoInput,
       kOutputAt<json_keys::kMessage, kel::StringW>},
      {L"SetDenyMessage", Handle<&Agent::SetDenyMessage>, kInputOf<DenyMessageParts>, kNoOutput},
      {L"SetExclusionKeys", Handle<&Agent::SetExclusionKeys>,
       kInputAt<json_keys::kKeys, kel::List<kel::StringW>>, kNoOutput},
      {L"GetExclusionKeys", Handle<&Agent::GetExclusionKeys>, kNoInput,
       kOutputAt<json_keys::kKeys, kel::List<kel::StringW>>},
      {L"SetAntispamRules", Handle<&Agent::SetAntispamRules>, kInputOf<ms::Antispam::RuleSet>,
       kNoOutput},
      {L"GetAntispamRules", Handle<&Agent::GetAntispamRules>, kNoInput,
       kOutputOf<ms::Antispam::RuleSet>},
      {L"SetAntivirusRules", Handle<&Agent::SetAntivirusRules>,
       kInputOf<ms::Antivirus::TransportRuleSet>, kNoOutput},
      {L"GetAntivirusRules", Handle<&Agent::GetAntivirusRules>, kNoInput,
       kOutputOf<ms::Antivirus::TransportRuleSet>},
      {L"SetAttachmentRules", Handle<&Agent::SetAttachmentRules>,
       kInputOf<ms::Attachment::RuleSet>, kNoOutput},
      {L"GetAttachmentRules", Handle<&Agent::GetAttachmentRules>, kNoInput,
       kOutputOf<ms::Attachment::RuleSet>},
      {L"SetContentRules", Handle<&Agent::SetContentRules>, kInputOf<ms::Content::RuleSet>,
       kNoOutput},
      {L"GetContentRules", Handle<&Agent::GetContentRules>, kNoInput,
       kOutputOf<ms::Content::RuleSet>},
      {L"SetDomainCheckRules", Handle<&Agent::SetDomainCheckRules>,
       kInputOf<ms::DomainCheck::RuleSet>, kNoOutput},
      {L"GetDomainCheckRules", Handle<&Agent::GetDomainCheckRules>, kNoInput,
       kOutputOf<ms::DomainCheck::RuleSet>},
  };
  return kMethods;
}

bool Agent::IsFunctioning() {
  TraceScope trace(Qualified(L"IsFunctioning").c_str());
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
  TraceScope trace(Qualified(L"ReportFeatureStates").c_str());
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
  AnswerAt(method, code, json_keys::kMessage, message);
  return true;
}

// Three parts in, one string to the plug-in: "code enhancedCode text". It is
// read back as that one string, never split again.
bool Agent::SetDenyMessage(IPolicyMethod& method) {
  DenyMessageParts parts;
  if (!LoadInput(method, parts)) return false;
  kel::StringW message(parts.code);
  message += L" ";
  message += parts.enhancedCode;
  message += L" ";
  message += parts.text;
  method.SetResult(plugin()->SetDenyMessage(message));
  return true;
}

bool Agent::SetExclusionKeys(IPolicyMethod& method) {
  kel::List<kel::StringW> entries;
  if (!LoadInput(method, json_keys::kKeys, entries)) return false;
  ms::Transport::ExclusionKeys keys;
  EnterpriseIntegration::SplitKeywords(
      entries, {{kLocalKey, &keys.local}, {kDomainKey, &keys.domain}}, keys.keys);
  method.SetResult(plugin()->SetExclusionKeys(keys));
  return true;
}

bool Agent::GetExclusionKeys(IPolicyMethod& method) {
  ms::Transport::ExclusionKeys keys;
  const uint32_t code = plugin()->GetExclusionKeys(keys);
  EnterpriseIntegration::AppendKeywords(
      keys.keys, {{kLocalKey, keys.local != 0}, {kDomainKey, keys.domain != 0}});
  AnswerAt(method, code, json_keys::kKeys, keys.keys);
  return true;
}

template <class Plugin, class RuleSet>
bool Agent::SetRules(ServPlugin<Plugin>& filter, IPolicyMethod& method) {
  if (!filter) return false;
  return EnterpriseIntegration::SetRuleSet<RuleSet>(
      method, [&filter](const RuleSet& rules) { return filter->SetRules(rules); },
      // Whatever the plug-in answered: the manager re-reads what is in force.
      [this](uint32_t) {
        if (EnterpriseIntegration::IManager* manager = this->manager())
          manager->NotifyConfigurationChanged(kConfigurationChanged);
      });
}

template <class Plugin, class RuleSet>
bool Agent::GetRules(ServPlugin<Plugin>& filter, IPolicyMethod& method) {
  if (!filter) return false;
  return EnterpriseIntegration::GetRuleSet<RuleSet>(
      method, [&filter](RuleSet& rules) { return filter->GetRules(rules); });
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
