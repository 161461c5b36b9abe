#include "host/kelhost/component_manager.h"

namespace kelhost {

uint32_t ComponentManager::GetComponent(const wchar_t* name, const kel::InterfaceId* iid,
                                        void** object) {
  try {
    if (object != nullptr) *object = nullptr;
    if (name == nullptr || iid == nullptr || object == nullptr) return kComponentBadArgument;
    const std::wstring component(name);
    void* answer = nullptr;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      if (refused_.count(component) != 0) return kComponentRefused;
    }
    if (component == EnterpriseIntegration::kManagerComponentName) {
      answer = manager_.QueryInterface(iid);
    } else if (ReferencePlugin* plugin = plugins_.Find(component)) {
      answer = plugin->Interface(*iid);
    } else {
      return kComponentRefused;
    }
    if (answer == nullptr) return kComponentLacksInterface;
    std::lock_guard<std::mutex> lock(mutex_);
    ++held_[component];
    *object = answer;
    return 0;
  } catch (...) {
    return kComponentRefused;
  }
}

void ComponentManager::ReleaseComponent(const wchar_t* name) {
  try {
    if (name == nullptr) return;
    const std::wstring component(name);
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = held_.find(component);
    if (found == held_.end() || found->second == 0) {
      ++unmatched_[component];
      return;
    }
    --found->second;
  } catch (...) {
  }
}

void ComponentManager::SetAvailable(const std::wstring& name, bool available) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (available) {
    refused_.erase(name);
  } else {
    refused_.insert(name);
  }
}

bool ComponentManager::IsAvailable(const std::wstring& name) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return refused_.count(name) == 0;
}

uint32_t ComponentManager::Held(const std::wstring& name) const {
  std::lock_guard<std::mutex> lock(mutex_);
  auto found = held_.find(name);
  return found == held_.end() ? 0 : found->second;
}

uint32_t ComponentManager::UnmatchedReleases(const std::wstring& name) const {
  std::lock_guard<std::mutex> lock(mutex_);
  auto found = unmatched_.find(name);
  return found == unmatched_.end() ? 0 : found->second;
}

void* ServMain::QueryInterface(const kel::InterfaceId* iid) {
  return iid != nullptr && *iid == IID_IKelBaseInterface ? static_cast<IServMain*>(this) : nullptr;
}

}  // namespace kelhost
