#pragma once
// How the on-demand agent's console calls are matched and reported. Unlike
// the other agents: the whole name is matched exactly (case-sensitive, no
// prefix taken off), the pre-check is named VerifyIfSiPointersAreBemol and
// wants the method name rather than the policy, a missing plug-in is a
// failure-level line, the method name is logged as "method name is '%s'" and
// an unknown one as "Function not found".
#include "agent/dispatch_rules.h"

namespace MailServers {

inline constexpr EnterpriseIntegration::DispatchRules kOnDemandDispatchRules = [] {
  using namespace EnterpriseIntegration;
  DispatchRules rules;
  rules.match = NameMatch::kExact;
  rules.stripPrefix = false;
  rules.precheckName = L"VerifyIfSiPointersAreBemol";
  rules.requiredAccessors = kNeedsName | kNeedsInput | kNeedsOutput;
  rules.noPlugins = {logging::kLevelFailure, L"Don't have one of the two plugins"};
  rules.methodName = {logging::kLevelTrace, L"method name is '%s'"};
  rules.notFound = {logging::kLevelFailure, L"Function not found"};
  return rules;
}();

}  // namespace MailServers
