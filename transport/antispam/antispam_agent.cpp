#include "transport/antispam/antispam_agent.h"

#include "agent/policy_answer.h"
#include "frame/logging/trace_scope.h"
#include "transport/antispam/antispam_schema.h"

namespace Antispam {

using EnterpriseIntegration::Answer;
using EnterpriseIntegration::Handle;
using EnterpriseIntegration::kInputOf;
using EnterpriseIntegration::kNoInput;
using EnterpriseIntegration::kNoOutput;
using EnterpriseIntegration::kOutputOf;
using EnterpriseIntegration::LoadInput;
using RBLSettings = kel::nusdk::MailServers::Antispam::IAntispam::RBLSettings;

Agent::Agent(const wchar_t* agentName)
    : EnterpriseIntegration::Agent<kel::nusdk::MailServers::Antispam::IAntispam>(
          agentName, L"Antispam::Agent") {}

EnterpriseIntegration::PolicyMethodTable Agent::PolicyMethods() const {
  static constexpr EnterpriseIntegration::PolicyMethodEntry kMethods[] = {
      {L"SetRBLSettings", Handle<&Agent::SetRBLSettings>, kInputOf<RBLSettings>, kNoOutput},
      {L"GetRBLSettings", Handle<&Agent::GetRBLSettings>, kNoInput, kOutputOf<RBLSettings>},
  };
  return kMethods;
}

bool Agent::SetRBLSettings(IPolicyMethod& method) {
  TraceScope trace(Qualified(L"SetRBLSettings").c_str());
  RBLSettings settings;
  if (!LoadInput(method, settings)) return false;
  method.SetResult(plugin()->SetRBLSettings(settings));
  return true;
}

// The input is not read.
bool Agent::GetRBLSettings(IPolicyMethod& method) {
  TraceScope trace(Qualified(L"GetRBLSettings").c_str());
  // A plug-in that leaves a field alone answers the default for it.
  RBLSettings settings;
  Answer(method, plugin()->GetRBLSettings(settings), settings);
  return true;
}

}  // namespace Antispam
