#pragma once
// The manager's handle on the content-filtering plug-in. It serves no policy
// method of its own: the content rules travel through the transport agent,
// which reaches the plug-in through the same holder.
#include "agent/agent.h"
#include "transport/content/content_plugin.h"
#include "sdk/mailservers/content.h"

namespace Content {

class Agent final
    : public EnterpriseIntegration::Agent<kel::nusdk::MailServers::Content::IContent> {
 public:
  Agent();

  EnterpriseIntegration::PolicyMethodTable PolicyMethods() const override;
};

}  // namespace Content
