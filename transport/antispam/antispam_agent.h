#pragma once
// The manager's handle on the antispam plug-in: the RBL settings.
#include "agent/agent.h"
#include "sdk/mailservers/antispam.h"
#include "sdk/policy_method.h"
#include "transport/antispam/antispam_plugin.h"

namespace Antispam {

class Agent final
    : public EnterpriseIntegration::Agent<kel::nusdk::MailServers::Antispam::IAntispam> {
 public:
  // `agentName` is "MailServers.Antispam": the plug-in's name and the method prefix.
  explicit Agent(const wchar_t* agentName);

  bool SetRBLSettings(IPolicyMethod& method);
  bool GetRBLSettings(IPolicyMethod& method);

  EnterpriseIntegration::PolicyMethodTable PolicyMethods() const override;
};

}  // namespace Antispam
