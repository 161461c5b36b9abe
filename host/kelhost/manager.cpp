#include "host/kelhost/manager.h"

#include <algorithm>
#include <cwchar>

#include "frame/text_convert.h"

namespace kelhost {
namespace {

std::string NameText(const wchar_t* name) {
  return name == nullptr ? std::string() : kel::Utf8FromWide(name, std::wcslen(name));
}

}  // namespace

void* Manager::QueryInterface(const kel::InterfaceId* iid) {
  if (iid != nullptr &&
      (*iid == EnterpriseIntegration::IID_IManager || *iid == IID_IKelBaseInterface)) {
    return static_cast<EnterpriseIntegration::IManager*>(this);
  }
  return nullptr;
}

uint32_t Manager::SendEvent(const wchar_t* name, const Json::Value* body, uint32_t options) {
  try {
    return Queue(ReceivedEvent{NameText(name), options, body != nullptr ? *body : Json::Value(),
                               std::nullopt});
  } catch (...) {
    return 14;  // ERROR_OUTOFMEMORY: the copy is all that can fail here
  }
}

uint32_t Manager::LogEvent(uint32_t category, uint32_t severity, uint32_t flags,
                           const wchar_t* name, uint32_t code, uint32_t count,
                           const Json::Value* body) {
  try {
    return Queue(ReceivedEvent{NameText(name), flags, body != nullptr ? *body : Json::Value(),
                               LogArguments{category, severity, code, count}});
  } catch (...) {
    return 14;
  }
}

void Manager::SetEventHook(EventHook hook) {
  std::lock_guard<std::mutex> lock(mutex_);
  hook_ = std::move(hook);
}

uint32_t Manager::Queue(ReceivedEvent event) {
  EventHook hook;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    hook = hook_;
  }
  if (hook && !hook(event)) return 0;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    events_.push_back(std::move(event));
  }
  arrived_.notify_all();
  return 0;
}

bool Manager::IsConnected() { return true; }

bool Manager::RegisterAgent(EnterpriseIntegration::IAgent* agent) {
  try {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      ++registerCalls_;
      if (agent == nullptr || !acceptRegistration_) return false;
    }
    // Asked outside the lock: the agent is free to call back into the manager.
    std::string name = NameText(agent->GetAgentName());
    std::lock_guard<std::mutex> lock(mutex_);
    const bool known = std::any_of(registered_.begin(), registered_.end(),
                                   [agent](const Registration& r) { return r.agent == agent; });
    if (!known) registered_.push_back(Registration{agent, std::move(name)});
    return true;
  } catch (...) {
    return false;
  }
}

void Manager::UnregisterAgent(EnterpriseIntegration::IAgent* agent) {
  try {
    std::lock_guard<std::mutex> lock(mutex_);
    ++unregisterCalls_;
    registered_.erase(std::remove_if(registered_.begin(), registered_.end(),
                                     [agent](const Registration& r) { return r.agent == agent; }),
                      registered_.end());
  } catch (...) {
  }
}

void Manager::NotifyConfigurationChanged(uint32_t what) {
  try {
    std::lock_guard<std::mutex> lock(mutex_);
    changes_.push_back(what);
  } catch (...) {
  }
}

void Manager::SetAcceptRegistration(bool accept) {
  std::lock_guard<std::mutex> lock(mutex_);
  acceptRegistration_ = accept;
}

std::vector<std::string> Manager::RegisteredNames() const {
  std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::string> names;
  for (const Registration& r : registered_) names.push_back(r.name);
  return names;
}

bool Manager::IsRegistered(const EnterpriseIntegration::IAgent* agent) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return std::any_of(registered_.begin(), registered_.end(),
                     [agent](const Registration& r) { return r.agent == agent; });
}

int Manager::RegisterCalls() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return registerCalls_;
}

int Manager::UnregisterCalls() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return unregisterCalls_;
}

std::vector<uint32_t> Manager::ChangeNotifications() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return changes_;
}

std::vector<ReceivedEvent> Manager::TakeEvents(size_t atLeast, std::chrono::milliseconds wait) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (atLeast > 0) {
    arrived_.wait_for(lock, wait, [&] { return events_.size() >= atLeast; });
  }
  std::vector<ReceivedEvent> taken;
  taken.swap(events_);
  return taken;
}

}  // namespace kelhost
