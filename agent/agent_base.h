#pragma once
// The base of every agent: the manager, the plug-ins the agent declares,
// registration with the manager, events, the agent's names, policy dispatch,
// and the host-facing slots that most agents leave as they are.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <json/value.h>

#include "agent/dispatch_rules.h"
#include "agent/method_schema.h"
#include "agent/notification_registration.h"
#include "agent/policy_method_table.h"
#include "agent/serv_plugin.h"
#include "frame/logging/log.h"
#include "frame/schema_source.h"
#include "frame/string.h"
#include "sdk/agent.h"
#include "sdk/manager.h"

namespace EnterpriseIntegration {

template <>
struct PluginTraits<IManager> {
  static constexpr const kel::InterfaceId& kIid = IID_IManager;
  static constexpr const wchar_t* kTypeName = L"struct EnterpriseIntegration::IManager";
};

class AgentBase : public IAgent {
 public:
  // `agentName` is the method prefix and the name reported to the manager;
  // `className` names the agent in traces ("Antispam::Agent").
  AgentBase(const wchar_t* agentName, const wchar_t* className,
            const DispatchRules& rules = kDefaultDispatchRules);

  // Host slots. Each is a wall: nothing thrown leaves it.
  void* QueryInterface(const kel::InterfaceId* iid) override;           // 0
  uint32_t Init(IServMain* main) override;                              // 1
  void Uninit() override;                                               // 2
  uint32_t Start() override;                                            // 3
  void Stop() override;                                                 // 4
  uint32_t ReportFeatureStates(IFeatureStateSink* sink) override;       // 5
  uint32_t OnHostNotification(uint32_t code) override;                  // 6
  void RunPolicyMethod(IPolicyMethod* method) override;                 // 7
  bool IsFunctioning() override;                                        // 8
  void ReportNames(INameSink* sink) override;                           // 9
  uint32_t CopyAgentName(wchar_t* buffer, uint32_t capacity) override;  // 10
  const wchar_t* GetAgentName() override;                               // 11
  void OnAttached() override;                                           // 12
  void OnDetached() override;                                           // 13
  uint32_t GetPendingWork() override;                                   // 14

  // Hands an event to the manager; 21 when no manager is held.
  uint32_t SendEvent(const wchar_t* name, const Json::Value& body,
                     uint32_t options = kEventOrdinary);

  const kel::StringW& agentName() const noexcept { return name_; }
  const std::wstring& className() const noexcept { return className_; }
  IManager* manager() const noexcept { return manager_.get(); }
  bool registered() const noexcept { return registered_; }

  // The agent's schema document: its name, how method names are matched,
  // every method's input and output and every event's body, from the rows
  // of PolicyMethods() and Events() (agent_description.cpp).
  void Describe(Json::Value& document) const;

  // True when the manager and every required plug-in are held.
  virtual bool HasPlugins() const;
  virtual ~AgentBase();

 protected:
  // Declares a plug-in that Init gets after the manager, in declaration
  // order, and that Uninit gives back in reverse. Without a required one Init
  // fails (5002) and undoes itself; an optional one may stay missing. The
  // holder belongs to the agent; call from the constructor.
  template <class T>
  ServPlugin<T>& DeclarePlugin(const wchar_t* componentName,
                               PluginNeed need = PluginNeed::kRequired) {
    auto holder = std::make_unique<ServPlugin<T>>(componentName);
    ServPlugin<T>& declared = *holder;
    plugins_.push_back({std::move(holder), need});
    return declared;
  }

  // Called once the manager and the plug-ins are held, to register the
  // agent's notification sinks (NotificationRegistration); a non-zero code
  // fails Init and undoes it.
  virtual uint32_t OnPluginsAcquired() { return 0; }

  // Called when Init fails for want of the required plug-in `component`
  // (already logged by the holder), for an agent whose console expects a
  // line of its own.
  virtual void OnRequiredPluginMissing(const kel::StringW& component) {
    static_cast<void>(component);
  }

  // The steps behind the slots, without trace or wall, for derived agents to
  // compose (Init's rollback runs UninitSteps).
  uint32_t InitSteps(IServMain* main);
  void UninitSteps() noexcept;
  void StopSteps();

  // The agent's policy methods; none in the base.
  virtual PolicyMethodTable PolicyMethods() const;
  // The events the agent sends, by name; none in the base.
  virtual EventTable Events() const;

  // 0 when a policy call may proceed, else the code to report: 21 without the
  // plug-ins, 160 for a null method object, 13 when an accessor the rules
  // require is missing. Each refusal is logged under `function`.
  virtual uint32_t PrecheckPolicyCall(IPolicyMethod* method, const wchar_t* function) const;

  const DispatchRules& dispatchRules() const noexcept { return rules_; }

  // "<className>::<operation>" for trace scopes.
  std::wstring Qualified(const wchar_t* operation) const;

 private:
  friend class NotificationRegistration;
  void Enlist(NotificationRegistration& registration);
  void Delist(NotificationRegistration& registration) noexcept;

  // Gives back sinks, manager and plug-ins without leaving the manager: what
  // a re-Init does before it gets them afresh.
  void ReleaseHeld() noexcept;
  // The handler's name with the agent's prefix taken off, by the rules.
  const wchar_t* StripPrefix(const wchar_t* name) const noexcept;

  // What QueryInterface answers for IID_ISchemaSource.
  class SchemaSource final : public ISchemaSource {
   public:
    explicit SchemaSource(const AgentBase& agent) : agent_(agent) {}
    uint32_t DescribeSchemas(Json::Value* document) override;

   private:
    const AgentBase& agent_;
  };

  struct DeclaredPlugin {
    std::unique_ptr<PluginHolder> holder;
    PluginNeed need;
  };

  ServPlugin<IManager> manager_;
  bool registered_ = false;
  kel::StringW name_;
  std::wstring className_;
  DispatchRules rules_;
  std::vector<DeclaredPlugin> plugins_;
  std::vector<NotificationRegistration*> registrations_;  // not owned
  logging::LogHandle log_;  // held for the agent's whole life
  SchemaSource schemaSource_{*this};
};

}  // namespace EnterpriseIntegration
