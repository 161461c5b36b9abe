#pragma once
#include <memory>
#include <vector>

#include "host/plugins/reference_plugin.h"

namespace kelhost {

// A fresh instance of every reference plug-in in plugin_list.h, in its order.
std::vector<std::unique_ptr<ReferencePlugin>> MakeReferencePlugins();

}  // namespace kelhost
