#include "transport/antivirus/antivirus_agent.h"

#include "agent/policy_answer.h"
#include "transport/antivirus/antivirus_schema.h"

namespace Antivirus {

// Every handler has one shape: the whole input loads or the handler answers
// false (reported as 160) without calling the plug-in; otherwise the plug-in's
// code is the result, and only a 0 writes the output.
using EnterpriseIntegration::Answer;
using EnterpriseIntegration::Handle;
using EnterpriseIntegration::kInputOf;
using EnterpriseIntegration::kNoInput;
using EnterpriseIntegration::kNoOutput;
using EnterpriseIntegration::kOutputOf;
using EnterpriseIntegration::LoadInput;
using EnterpriseIntegration::antivirus::FooterSetting;
using EnterpriseIntegration::antivirus::FooterState;
using EnterpriseIntegration::antivirus::FooterSwitch;
using EnterpriseIntegration::antivirus::FooterText;
using kel::nusdk::MailServers::Antivirus::ReplacementTexts;


Agent::Agent(const wchar_t* agentName)
    : EnterpriseIntegration::Agent<kel::nusdk::MailServers::Antivirus::IAntivirus>(
          agentName, L"Antivirus::Agent") {}

EnterpriseIntegration::PolicyMethodTable Agent::PolicyMethods() const {
  static constexpr EnterpriseIntegration::PolicyMethodEntry kMethods[] = {
      {L"IsFooterEnabled", Handle<&Agent::IsFooterEnabled>, kInputOf<FooterState>,
       kOutputOf<FooterState>},
      {L"SetFooterEnabled", Handle<&Agent::SetFooterEnabled>, kInputOf<FooterSwitch>, kNoOutput},
      {L"GetFooter", Handle<&Agent::GetFooter>, kInputOf<FooterText>, kOutputOf<FooterText>},
      {L"SetFooter", Handle<&Agent::SetFooter>, kInputOf<FooterSetting>, kNoOutput},
      {L"GetReplacementTexts", Handle<&Agent::GetReplacementTexts>, kNoInput,
       kOutputOf<ReplacementTexts>},
      {L"SetReplacementTexts", Handle<&Agent::SetReplacementTexts>, kInputOf<ReplacementTexts>,
       kNoOutput},
  };
  return kMethods;
}

bool Agent::IsFooterEnabled(IPolicyMethod& method) {
  FooterState state;
  if (!LoadInput(method, state)) return false;
  Answer(method, plugin()->IsFooterEnabled(state.type, state.enabled), state);
  return true;
}

bool Agent::SetFooterEnabled(IPolicyMethod& method) {
  FooterSwitch request;
  if (!LoadInput(method, request)) return false;
  method.SetResult(plugin()->SetFooterEnabled(request.types, request.enabled));
  return true;
}

bool Agent::GetFooter(IPolicyMethod& method) {
  FooterText text;
  if (!LoadInput(method, text)) return false;
  Answer(method, plugin()->GetFooter(text.type, text.footer), text);
  return true;
}

bool Agent::SetFooter(IPolicyMethod& method) {
  FooterSetting request;
  if (!LoadInput(method, request)) return false;
  method.SetResult(plugin()->SetFooter(request.types, request.footer));
  return true;
}

bool Agent::GetReplacementTexts(IPolicyMethod& method) {
  ReplacementTexts texts;
  Answer(method, plugin()->GetReplacementTexts(texts), texts);
  return true;
}

bool Agent::SetReplacementTexts(IPolicyMethod& method) {
  ReplacementTexts texts;
  if (!LoadInput(method, texts)) return false;
  method.SetResult(plugin()->SetReplacementTexts(texts));
  return true;
}

}  // namespace Antivirus
