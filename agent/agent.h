#pragma once
// An agent for one plug-in: the plug-in holder, named like the agent, and the
// agent's handle on the logging binding.
#include "agent/agent_base.h"
#include "agent/result_codes.h"
#include "frame/logging/log.h"
#include "frame/logging/trace_scope.h"
#include "frame/scope_exit.h"

namespace EnterpriseIntegration {

template <class IPlugin>
class Agent : public AgentBase {
 public:
  Agent(const wchar_t* agentName, const wchar_t* className)
      : AgentBase(agentName, className), plugin_(agentName) {}

  uint32_t Init(IServMain* main) override {
    TraceScope trace(Qualified(L"Init").c_str());
    try {
      return InitPluginSteps(main);
    } catch (...) {
      return kel::result::kComponentMissing;
    }
  }

  void Uninit() override {
    TraceScope trace(Qualified(L"Uninit").c_str());
    try {
      ReleasePluginSteps();
    } catch (...) {
    }
  }

  bool HasPlugins() const override { return AgentBase::HasPlugins() && plugin_.get() != nullptr; }

  IPlugin* plugin() const noexcept { return plugin_.get(); }

  ~Agent() override {
    try {
      ReleasePluginSteps();
    } catch (...) {
    }
  }

 protected:
  // Called once the manager and the plug-in are held, e.g. to register the
  // agent's notification sinks; a non-zero code fails Init and undoes it.
  virtual uint32_t OnPluginAcquired(IPlugin*) { return kel::result::kSuccess; }
  // Called before the plug-in is given back. Not reached from ~Agent (the
  // derived part is gone by then): an agent that registers sinks gives them
  // back in its own destructor too, through ReleasePlugin().
  virtual void OnPluginReleasing(IPlugin*) {}

  void ReleasePlugin() { ReleasePluginSteps(); }

 private:
  uint32_t InitPluginSteps(IServMain* main) {
    // Init may be called again: what is held is given back before it is got afresh.
    ReleasePluginSteps();
    kel::ScopeExit rollback([this] { ReleasePluginSteps(); });
    if (const uint32_t code = InitSteps(main)) return code;
    IComponentManager* components = main ? main->GetComponentManager() : nullptr;
    IPlugin* plugin = plugin_.GetPlugin(components);
    if (!plugin) return kel::result::kComponentMissing;
    if (const uint32_t code = OnPluginAcquired(plugin)) return code;
    rollback.Dismiss();
    return kel::result::kSuccess;
  }

  void ReleasePluginSteps() {
    UninitSteps();
    if (IPlugin* plugin = plugin_.get()) {
      OnPluginReleasing(plugin);
      plugin_.Release();
    }
  }

  ServPlugin<IPlugin> plugin_;
  logging::LogHandle log_;  // held for the agent's whole life
};

}  // namespace EnterpriseIntegration
