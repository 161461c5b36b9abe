#include "transport/attachment/attachment_agent.h"

namespace Attachment {

Agent::Agent(const wchar_t* agentName)
    : EnterpriseIntegration::Agent<kel::nusdk::MailServers::Attachment::IAttachment>(
          agentName, L"Attachment::Agent") {}

// The attachment rules travel through the transport agent; this agent answers
// no method, so every name ends in "Function %s not found" and 4317. Its rows
// are left out rather than written empty: an empty name in the table would
// match a call whose name is empty.
EnterpriseIntegration::PolicyMethodTable Agent::PolicyMethods() const { return {}; }

}  // namespace Attachment
