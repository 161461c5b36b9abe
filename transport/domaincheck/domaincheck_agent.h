#pragma once
// The manager's handle on the domain-check plug-in. It serves no policy
// method of its own: the rules travel through the transport agent.
#include "agent/agent.h"
#include "sdk/mailservers/domaincheck.h"
#include "transport/domaincheck/domaincheck_plugin.h"

namespace DomainCheck {

class Agent final
    : public EnterpriseIntegration::Agent<kel::nusdk::MailServers::DomainCheck::IDomainCheck> {
 public:
  // `agentName` is "MailServers.DomainCheck": the plug-in's name and the method prefix.
  explicit Agent(const wchar_t* agentName);

  EnterpriseIntegration::PolicyMethodTable PolicyMethods() const override;
};

}  // namespace DomainCheck
