#pragma once
// The management side as kelhost plays it: component "EndpointIntegration.Manager".
// It takes agent registrations (or refuses them on request), collects change
// notifications, and queues the events agents send, from whatever thread.
// The agent unit tests use this same object as their manager, so that what
// they prove of an agent is what kelhost scripts see.
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

#include "sdk/manager.h"

namespace kelhost {

// The arguments of the log-event operation that SendEvent lacks.
struct LogArguments {
  uint32_t category = 0;
  uint32_t severity = 0;
  uint32_t code = 0;
  uint32_t count = 0;
};

struct ReceivedEvent {
  std::string name;  // UTF-8
  uint32_t flags = 0;
  Json::Value body;                 // a copy: the sender's document lives only for the call
  std::optional<LogArguments> log;  // set when it came through LogEvent
};

class Manager final : public EnterpriseIntegration::IManager {
 public:
  void* QueryInterface(const kel::InterfaceId* iid) override;
  uint32_t SendEvent(const wchar_t* name, const Json::Value* body, uint32_t options) override;
  uint32_t LogEvent(uint32_t category, uint32_t severity, uint32_t flags, const wchar_t* name,
                    uint32_t code, uint32_t count, const Json::Value* body) override;
  bool IsConnected() override;
  bool RegisterAgent(EnterpriseIntegration::IAgent* agent) override;
  void UnregisterAgent(EnterpriseIntegration::IAgent* agent) override;
  void NotifyConfigurationChanged(uint32_t what) override;

  // Host side.
  void SetAcceptRegistration(bool accept);
  // The names of the agents registered now, in order of registration.
  std::vector<std::string> RegisteredNames() const;
  bool IsRegistered(const EnterpriseIntegration::IAgent* agent) const;
  // Calls of RegisterAgent and UnregisterAgent so far, refused or not.
  int RegisterCalls() const;
  int UnregisterCalls() const;
  std::vector<uint32_t> ChangeNotifications() const;
  // The events received since the previous call, oldest first; waits up to
  // `wait` until there are at least `atLeast` of them.
  std::vector<ReceivedEvent> TakeEvents(size_t atLeast, std::chrono::milliseconds wait);
  std::vector<ReceivedEvent> TakeEvents() { return TakeEvents(0, std::chrono::milliseconds(0)); }
  // Sees each event as it arrives, on the sender's thread and outside the
  // manager's lock (it may call back into the agent); an event it answers
  // false for is not queued, so that a load test need not keep what it
  // only counts.
  using EventHook = std::function<bool(const ReceivedEvent&)>;
  void SetEventHook(EventHook hook);

 private:
  struct Registration {
    EnterpriseIntegration::IAgent* agent;
    std::string name;  // asked once, at registration
  };

  mutable std::mutex mutex_;
  std::condition_variable arrived_;
  uint32_t Queue(ReceivedEvent event);

  bool acceptRegistration_ = true;
  int registerCalls_ = 0;
  int unregisterCalls_ = 0;
  std::vector<Registration> registered_;
  std::vector<uint32_t> changes_;
  std::vector<ReceivedEvent> events_;
  EventHook hook_;
};

}  // namespace kelhost
