#include "host/plugins/plugins.h"

namespace kelhost {

#define KELHOST_PLUGIN(factory) std::unique_ptr<ReferencePlugin> factory();
#include "host/plugins/plugin_list.h"
#undef KELHOST_PLUGIN

std::vector<std::unique_ptr<ReferencePlugin>> MakeReferencePlugins() {
  std::vector<std::unique_ptr<ReferencePlugin>> plugins;
#define KELHOST_PLUGIN(factory) plugins.push_back(factory());
#include "host/plugins/plugin_list.h"
#undef KELHOST_PLUGIN
  return plugins;
}

}  // namespace kelhost
