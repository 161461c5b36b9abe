#include "transport/content/content_agent.h"

namespace Content {

Agent::Agent()
    : EnterpriseIntegration::Agent<kel::nusdk::MailServers::Content::IContent>(
          kel::nusdk::MailServers::Content::kComponentName, L"Content::Agent") {}

// No method of its own: every name sent here is unknown (4317).
EnterpriseIntegration::PolicyMethodTable Agent::PolicyMethods() const { return {}; }

}  // namespace Content
