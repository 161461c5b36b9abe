#pragma once
// The management side as kelhost plays it: component "EndpointIntegration.Manager".
// It takes agent registrations (or refuses them on request), collects change
// notifications, and queues the events agents send, from whatever thread.
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <json/value.h>

#include "sdk/manager.h"

namespace kelhost {

struct ReceivedEvent {
  std::string name;  // UTF-8
  uint32_t flags = 0;
  Json::Value body;  // a copy: the sender's document lives only for the call
};

class Manager final : public EnterpriseIntegration::IManager {
 public:
  void* QueryInterface(const kel::InterfaceId* iid) override;
  uint32_t SendEvent(const wchar_t* name, const Json::Value* body, uint32_t options) override;
  uint32_t LogEvent(const wchar_t* name, const Json::Value* body, uint32_t severity) override;
  bool IsConnected() override;
  bool RegisterAgent(EnterpriseIntegration::IAgent* agent) override;
  void UnregisterAgent(EnterpriseIntegration::IAgent* agent) override;
  void NotifyConfigurationChanged(uint32_t what) override;

  // Host side.
  void SetAcceptRegistration(bool accept);
  // The names of the agents registered now, in order of registration.
  std::vector<std::string> RegisteredNames() const;
  std::vector<uint32_t> ChangeNotifications() const;
  // The events received since the previous call, oldest first; waits up to
  // `wait` until there are at least `atLeast` of them.
  std::vector<ReceivedEvent> TakeEvents(size_t atLeast, std::chrono::milliseconds wait);

 private:
  struct Registration {
    EnterpriseIntegration::IAgent* agent;
    std::string name;  // asked once, at registration
  };

  mutable std::mutex mutex_;
  std::condition_variable arrived_;
  bool acceptRegistration_ = true;
  std::vector<Registration> registered_;
  std::vector<uint32_t> changes_;
  std::vector<ReceivedEvent> events_;
};

}  // namespace kelhost
