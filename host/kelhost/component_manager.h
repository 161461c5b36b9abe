#pragma once
// The host's component manager and the IServMain that hands it to agents. It
// knows the manager ("EndpointIntegration.Manager") and the reference plug-ins;
// a script can make it refuse any component name.
//
// Codes of GetComponent:
//   1168 (ERROR_NOT_FOUND)         no such component, or refused on request;
//   50   (ERROR_NOT_SUPPORTED)     the component lacks the interface asked for;
//   87   (ERROR_INVALID_PARAMETER) a null argument.
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "host/kelhost/manager.h"
#include "host/kelhost/plugin_registry.h"
#include "sdk/serv_main.h"

namespace kelhost {

inline constexpr uint32_t kComponentRefused = 1168;
inline constexpr uint32_t kComponentLacksInterface = 50;
inline constexpr uint32_t kComponentBadArgument = 87;

class ComponentManager final : public IComponentManager {
 public:
  ComponentManager(Manager& manager, const PluginRegistry& plugins)
      : manager_(manager), plugins_(plugins) {}

  uint32_t GetComponent(const wchar_t* name, const kel::InterfaceId* iid, void** object) override;
  void ReleaseComponent(const wchar_t* name) override;

  // Host side.
  void SetAvailable(const std::wstring& name, bool available);
  bool IsAvailable(const std::wstring& name) const;
  // Components handed out and not yet given back, by name.
  uint32_t Held(const std::wstring& name) const;
  // Releases of a name that was not held at the time.
  uint32_t UnmatchedReleases(const std::wstring& name) const;

 private:
  Manager& manager_;
  const PluginRegistry& plugins_;
  mutable std::mutex mutex_;
  std::set<std::wstring> refused_;
  std::map<std::wstring, uint32_t> held_;
  std::map<std::wstring, uint32_t> unmatched_;
};

class ServMain final : public IServMain {
 public:
  explicit ServMain(IComponentManager* components) : components_(components) {}

  void* QueryInterface(const kel::InterfaceId* iid) override;
  IComponentManager* GetComponentManager() override { return components_; }

 private:
  IComponentManager* components_;
};

}  // namespace kelhost
