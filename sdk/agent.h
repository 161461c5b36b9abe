#pragma once
// The interfaces through which the host drives an agent. Every agent answers
// IKelBaseInterface, IServPlugin and EnterpriseIntegration::IAgent with the same
// pointer (one inheritance chain), so slot numbers run on across the chain.
#include <cstdint>

#include "sdk/kel_base_interface.h"
#include "sdk/policy_method.h"
#include "sdk/serv_main.h"

// 414e2323-04d0-9833-7641-887c5d8252e9
constexpr kel::InterfaceId IID_IServPlugin{0x983304d0414e2323ull, 0xe952825d7c884176ull};

// Receives the enabled state of each feature an agent reports (slot 5).
class IFeatureStateSink {
 public:
  virtual void ReportFeature(const wchar_t* feature, bool enabled) = 0;  // slot 0

 protected:
  ~IFeatureStateSink() = default;
};

// Receives the names an agent answers to (slot 9).
class INameSink {
 public:
  virtual void AddName(const wchar_t* name) = 0;  // slot 0

 protected:
  ~INameSink() = default;
};

class IServPlugin : public IKelBaseInterface {
 public:
  virtual uint32_t Init(IServMain* main) = 0;  // slot 1: 0, or 5002 when something is missing
  virtual void Uninit() = 0;                   // slot 2: releases everything Init got
  virtual uint32_t Start() = 0;                // slot 3: registers with the manager
  virtual void Stop() = 0;                     // slot 4: unregisters
  // Slot 5: reports the agent's features to `sink`; agents without features report none.
  virtual uint32_t ReportFeatureStates(IFeatureStateSink* sink) = 0;
  // Slot 6: a host notification the agents do not act on.
  virtual uint32_t OnHostNotification(uint32_t code) = 0;

 protected:
  ~IServPlugin() = default;
};

namespace EnterpriseIntegration {

// ffa24485-baed-ad79-a343-03320000d2e7
constexpr kel::InterfaceId IID_IAgent{0xad79baedffa24485ull, 0xe7d20000320343a3ull};

class IAgent : public IServPlugin {
 public:
  // Slot 7: runs one policy method; the result travels through the method object only.
  virtual void RunPolicyMethod(IPolicyMethod* method) = 0;
  virtual bool IsFunctioning() = 0;               // slot 8
  virtual void ReportNames(INameSink* sink) = 0;  // slot 9
  // Slot 10: the agent name, copied into `buffer` (always terminated, cut to
  // fit); returns the name's full length in characters.
  virtual uint32_t CopyAgentName(wchar_t* buffer, uint32_t capacity) = 0;
  // Slot 11: the agent name, valid for the agent's life.
  virtual const wchar_t* GetAgentName() = 0;
  virtual void OnAttached() = 0;          // slot 12: no effect
  virtual void OnDetached() = 0;          // slot 13: no effect
  virtual uint32_t GetPendingWork() = 0;  // slot 14: 0

 protected:
  ~IAgent() = default;
};

}  // namespace EnterpriseIntegration
