#pragma once
// The antivirus agent: the footer stamped on scanned mail per direction and
// the texts that replace removed content. The antivirus rule set is not
// served here but by the transport agent, through antivirus_schema.h.
#include "agent/agent.h"
#include "transport/antivirus/antivirus_plugin.h"

namespace Antivirus {

class Agent final
    : public EnterpriseIntegration::Agent<kel::nusdk::MailServers::Antivirus::IAntivirus> {
 public:
  explicit Agent(const wchar_t* agentName = kel::nusdk::MailServers::Antivirus::kComponentName);

  bool IsFooterEnabled(IPolicyMethod& method);
  bool SetFooterEnabled(IPolicyMethod& method);
  bool GetFooter(IPolicyMethod& method);
  bool SetFooter(IPolicyMethod& method);
  bool GetReplacementTexts(IPolicyMethod& method);
  bool SetReplacementTexts(IPolicyMethod& method);

  EnterpriseIntegration::PolicyMethodTable PolicyMethods() const override;
};

}  // namespace Antivirus
