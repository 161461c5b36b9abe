#pragma once
// The reference plug-ins of one kelhost run, by component name.
#include <memory>
#include <string>
#include <vector>

#include "host/plugins/reference_plugin.h"

namespace kelhost {

class PluginRegistry {
 public:
  explicit PluginRegistry(std::vector<std::unique_ptr<ReferencePlugin>> plugins)
      : plugins_(std::move(plugins)) {}

  // Exact, case-sensitive match; null when there is no such plug-in.
  ReferencePlugin* Find(const std::wstring& name) const;

 private:
  std::vector<std::unique_ptr<ReferencePlugin>> plugins_;
};

}  // namespace kelhost
