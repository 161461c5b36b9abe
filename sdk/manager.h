#pragma once
// The management side, component "EndpointIntegration.Manager": it drives
// agents with policy methods and receives their events.
#include <cstdint>

#include <json/value.h>

#include "sdk/agent.h"
#include "sdk/kel_base_interface.h"

namespace EnterpriseIntegration {

// 81fb569d-ddc6-474f-a64c-75f400002353
constexpr kel::InterfaceId IID_IManager{0x474fddc681fb569dull, 0x53230000f4754ca6ull};

inline constexpr wchar_t kManagerComponentName[] = L"EndpointIntegration.Manager";

// Option word of SendEvent.
inline constexpr uint32_t kEventOrdinary = 0;
inline constexpr uint32_t kEventHighFrequency = 512;  // task progress, per-item scan events

class IManager : public IKelBaseInterface {
 public:
  // Slot 1: one event; `body` is owned by the caller and valid only during the call.
  virtual uint32_t SendEvent(const wchar_t* name, const Json::Value* body, uint32_t options) = 0;
  // Slot 2: an event that also becomes an entry of the management side's own
  // event log (an on-demand run's scan log goes this way: category 306,
  // severity 1 or 2, flags 4096, code 0, count 1). What `code` and `count`
  // mean beyond the values the module sends is the management side's: the
  // module only passes them.
  // `body` is owned by the caller and valid only during the call.
  virtual uint32_t LogEvent(uint32_t category, uint32_t severity, uint32_t flags,
                            const wchar_t* name, uint32_t code, uint32_t count,
                            const Json::Value* body) = 0;
  // Slot 3: whether the management side is connected now.
  virtual bool IsConnected() = 0;
  virtual bool RegisterAgent(IAgent* agent) = 0;    // slot 4
  virtual void UnregisterAgent(IAgent* agent) = 0;  // slot 5
  // Slot 6: the agent's configuration changed (the Transport agent passes 1).
  virtual void NotifyConfigurationChanged(uint32_t what) = 0;

 protected:
  ~IManager() = default;
};

}  // namespace EnterpriseIntegration
