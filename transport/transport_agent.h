#pragma once
// The one agent through which the manager configures transport filtering: the
// SMTP deny message, the exclusion keys, and the rule sets of the five filters,
// whose plug-ins it holds beside its own.
#include <cstdint>

#include "agent/agent.h"
#include "sdk/mailservers/transport.h"
#include "transport/antispam/antispam_plugin.h"
#include "transport/antivirus/antivirus_agent.h"
#include "transport/attachment/attachment_agent.h"
#include "transport/content/content_plugin.h"
#include "transport/domaincheck/domaincheck_plugin.h"

namespace EnterpriseIntegration {
template <>
struct PluginTraits<kel::nusdk::MailServers::Transport::ITransport> {
  static constexpr const kel::InterfaceId& kIid =
      kel::nusdk::MailServers::Transport::IID_ITransport;
  static constexpr const wchar_t* kTypeName =
      L"struct kel::nusdk::MailServers::Transport::ITransport";
};
}  // namespace EnterpriseIntegration

namespace Transport {

namespace ms = kel::nusdk::MailServers;

class Agent final : public EnterpriseIntegration::Agent<ms::Transport::ITransport> {
 public:
  explicit Agent(const wchar_t* agentName);

  uint32_t ReportFeatureStates(IFeatureStateSink* sink) override;
  // Probes the transport plug-in; 1229 and 2250 mean not functioning. Without
  // the plug-in there is nothing to probe, and the agent is not functioning.
  bool IsFunctioning() override;
  EnterpriseIntegration::PolicyMethodTable PolicyMethods() const override;

  bool GetDenyMessage(IPolicyMethod& method);
  bool SetDenyMessage(IPolicyMethod& method);
  bool SetExclusionKeys(IPolicyMethod& method);
  bool GetExclusionKeys(IPolicyMethod& method);
  bool SetAntispamRules(IPolicyMethod& method);
  bool GetAntispamRules(IPolicyMethod& method);
  bool SetAntivirusRules(IPolicyMethod& method);
  bool GetAntivirusRules(IPolicyMethod& method);
  bool SetAttachmentRules(IPolicyMethod& method);
  bool GetAttachmentRules(IPolicyMethod& method);
  bool SetContentRules(IPolicyMethod& method);
  bool GetContentRules(IPolicyMethod& method);
  bool SetDomainCheckRules(IPolicyMethod& method);
  bool GetDomainCheckRules(IPolicyMethod& method);


 private:
  // Every set-rules method: load the whole input, set, tell the manager.
  template <class Plugin, class RuleSet>
  bool SetRules(EnterpriseIntegration::ServPlugin<Plugin>& filter, IPolicyMethod& method);
  // Every get-rules method: get, and answer "enabled" and "rules".
  template <class Plugin, class RuleSet>
  bool GetRules(EnterpriseIntegration::ServPlugin<Plugin>& filter, IPolicyMethod& method);
  // One feature of the feature-state report; skipped without its plug-in.
  template <class Plugin, class RuleSet>
  void ReportFeature(EnterpriseIntegration::ServPlugin<Plugin>& filter, const wchar_t* feature,
                     IFeatureStateSink& sink);

  // The filter plug-ins are optional: Init succeeds without them, and their
  // methods then answer 160.
  EnterpriseIntegration::ServPlugin<ms::Antivirus::IAntivirus>& antivirus_;
  EnterpriseIntegration::ServPlugin<ms::Antispam::IAntispam>& antispam_;
  EnterpriseIntegration::ServPlugin<ms::Attachment::IAttachment>& attachment_;
  EnterpriseIntegration::ServPlugin<ms::Content::IContent>& content_;
  EnterpriseIntegration::ServPlugin<ms::DomainCheck::IDomainCheck>& domainCheck_;
};

}  // namespace Transport
