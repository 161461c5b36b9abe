#pragma once
// The base of every agent: the manager, registration with it, events, the
// agent's names, and the host-facing slots that most agents leave as they are.
#include <cstdint>
#include <string>

#include <json/value.h>

#include "agent/policy_method_table.h"
#include "agent/serv_plugin.h"
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
  // `agentName` is also the plug-in's component name and the method prefix;
  // `className` names the agent in traces ("Antispam::Agent").
  AgentBase(const wchar_t* agentName, const wchar_t* className);

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

  // True when everything the policy methods need is held.
  virtual bool HasPlugins() const;
  virtual ~AgentBase();

 protected:
  // The steps behind the slots, without trace or wall, for derived agents to
  // compose (Init's rollback runs UninitSteps).
  uint32_t InitSteps(IServMain* main);
  void UninitSteps();
  void StopSteps();

  // The agent's policy methods; none in the base.
  virtual PolicyMethodTable PolicyMethods() const;

  // 0 when a policy call may proceed, else the code to report: 21 without the
  // plug-ins, 160 for a null method object, 13 when its policy, input or
  // output is missing. Each refusal is logged at level 4 under `function`.
  virtual uint32_t PrecheckPolicyCall(IPolicyMethod* method, const wchar_t* function) const;

  // "<className>::<operation>" for trace scopes.
  std::wstring Qualified(const wchar_t* operation) const;

 private:
  ServPlugin<IManager> manager_;
  bool registered_ = false;
  kel::StringW name_;
  std::wstring className_;
};

}  // namespace EnterpriseIntegration
