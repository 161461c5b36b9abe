#include "host/kelhost/plugin_registry.h"

namespace kelhost {

ReferencePlugin* PluginRegistry::Find(const std::wstring& name) const {
  for (const auto& plugin : plugins_) {
    if (name == plugin->ComponentName()) return plugin.get();
  }
  return nullptr;
}

}  // namespace kelhost
