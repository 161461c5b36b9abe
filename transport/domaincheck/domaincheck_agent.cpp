#include "transport/domaincheck/domaincheck_agent.h"

namespace DomainCheck {

Agent::Agent(const wchar_t* agentName)
    : EnterpriseIntegration::Agent<kel::nusdk::MailServers::DomainCheck::IDomainCheck>(
          agentName, L"DomainCheck::Agent") {}

// No rows: every name, the empty one included, is "not found" (4317). A row
// with an empty name would instead catch the empty name with no handler.
EnterpriseIntegration::PolicyMethodTable Agent::PolicyMethods() const { return {}; }

}  // namespace DomainCheck
