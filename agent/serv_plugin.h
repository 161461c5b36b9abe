#pragma once
// Holder of one component obtained from the host's component manager.
#include <cstdint>
#include <string>

#include "frame/logging/log.h"
#include "frame/string.h"
#include "sdk/serv_main.h"

namespace EnterpriseIntegration {

// What the holder needs to know of a plug-in interface: its identifier and the
// type's name as it appears in log lines. Each plug-in interface specialises it.
template <class T>
struct PluginTraits;

// Whether an agent's Init fails without a plug-in it declares.
enum class PluginNeed : uint8_t { kRequired, kOptional };

// The type-free face of a holder, through which an agent gets and gives back
// all its declared plug-ins in order.
class PluginHolder {
 public:
  // True when the component was obtained; a refusal is logged.
  virtual bool Acquire(IComponentManager* manager) = 0;
  virtual void Release() noexcept = 0;
  virtual bool Held() const noexcept = 0;
  virtual const kel::StringW& ComponentName() const noexcept = 0;
  virtual ~PluginHolder() = default;
};

namespace detail {
// The two log lines of GetPlugin, outside the template.
void LogNullComponentManager(const wchar_t* typeName);
void LogGetPluginError(const wchar_t* typeName, uint32_t code, const wchar_t* component);
}  // namespace detail

template <class T>
class ServPlugin final : public PluginHolder {
 public:
  explicit ServPlugin(const wchar_t* componentName) : name_(componentName) {}
  ~ServPlugin() { Release(); }
  ServPlugin(const ServPlugin&) = delete;
  ServPlugin& operator=(const ServPlugin&) = delete;

  // Gives back what is held, then asks `manager` for the component afresh.
  // Null when the manager is null or refuses; the failure is logged.
  T* GetPlugin(IComponentManager* manager) {
    Release();
    if (!manager) {
      detail::LogNullComponentManager(PluginTraits<T>::kTypeName);
      return nullptr;
    }
    void* object = nullptr;
    const uint32_t code = manager->GetComponent(name_.c_str(), &PluginTraits<T>::kIid, &object);
    if (code != 0 || !object) {
      detail::LogGetPluginError(PluginTraits<T>::kTypeName, code, name_.c_str());
      // A component handed out with success but no pointer is still given back.
      if (code == 0) manager->ReleaseComponent(name_.c_str());
      return nullptr;
    }
    manager_ = manager;
    plugin_ = static_cast<T*>(object);
    return plugin_;
  }

  bool Acquire(IComponentManager* manager) override { return GetPlugin(manager) != nullptr; }

  // Gives the component back through the manager it came from.
  void Release() noexcept override {
    if (!plugin_) return;
    IComponentManager* manager = manager_;
    manager_ = nullptr;
    plugin_ = nullptr;
    try {
      manager->ReleaseComponent(name_.c_str());
    } catch (...) {
    }
  }

  bool Held() const noexcept override { return plugin_ != nullptr; }
  T* get() const noexcept { return plugin_; }
  T* operator->() const noexcept { return plugin_; }
  explicit operator bool() const noexcept { return plugin_ != nullptr; }
  const kel::StringW& name() const noexcept { return name_; }
  const kel::StringW& ComponentName() const noexcept override { return name_; }

 private:
  IComponentManager* manager_ = nullptr;  // not owned
  T* plugin_ = nullptr;
  kel::StringW name_;
};

}  // namespace EnterpriseIntegration
