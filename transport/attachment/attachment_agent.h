#pragma once
// The attachment agent: the manager's handle on the attachment-filtering
// plug-in. It serves no method of its own; the attachment rule set is set and
// read through the transport agent, with attachment_schema.h.
#include "agent/agent.h"
#include "transport/attachment/attachment_plugin.h"

namespace Attachment {

class Agent final
    : public EnterpriseIntegration::Agent<kel::nusdk::MailServers::Attachment::IAttachment> {
 public:
  explicit Agent(const wchar_t* agentName = kel::nusdk::MailServers::Attachment::kComponentName);

  EnterpriseIntegration::PolicyMethodTable PolicyMethods() const override;
};

}  // namespace Attachment
