#pragma once
// An agent built around one main plug-in; further plug-ins are declared with
// DeclarePlugin like any other.
#include "agent/agent_base.h"
#include "frame/result_codes.h"
#include "frame/logging/log.h"
#include "frame/logging/trace_scope.h"

namespace EnterpriseIntegration {

template <class IPlugin>
class Agent : public AgentBase {
 public:
  // The plug-in's component name is `pluginName`, or the agent's name when
  // none is given (the filters: "MailServers.Antispam" names both).
  Agent(const wchar_t* agentName, const wchar_t* className, const wchar_t* pluginName = nullptr,
        const DispatchRules& rules = kDefaultDispatchRules)
      : AgentBase(agentName, className, rules),
        plugin_(DeclarePlugin<IPlugin>(pluginName ? pluginName : agentName)) {}

  IPlugin* plugin() const noexcept { return plugin_.get(); }

 private:
  ServPlugin<IPlugin>& plugin_;
};

}  // namespace EnterpriseIntegration
