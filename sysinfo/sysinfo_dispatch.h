#pragma once
// How the system-information agent's console calls are matched and reported:
// the module's usual rules (names ignoring case, the agent's prefix taken
// off, the usual messages). The agent holds no plug-in, so its pre-check's
// first test is that Init succeeded (the manager is held); a call before that
// answers 21 and says so.
#include "agent/dispatch_rules.h"

namespace SystemInfo {

inline constexpr EnterpriseIntegration::DispatchRules kSystemInfoDispatchRules = [] {
  using namespace EnterpriseIntegration;
  DispatchRules rules;
  rules.noPlugins = {logging::kLevelMissingPrerequisite, L"Agent is not initialized"};
  return rules;
}();

}  // namespace SystemInfo
