#pragma once
// The two methods of every rule-set document ({"enabled", "rules"}), wherever
// the rules live: the transport filters' global sets, or an on-demand task's
// antivirus rules. The caller binds the plug-in operation; the document is
// the rule set's schema.
#include <cstdint>
#include <utility>

#include "agent/policy_answer.h"

namespace EnterpriseIntegration {

// Loads the whole input as RuleSet (a failure reaches no plug-in: false),
// reports `set(rules)`, then runs `afterSet(code)` whatever the plug-in
// answered (the manager's change notification).
template <class RuleSet, class Set, class AfterSet>
bool SetRuleSet(IPolicyMethod& method, Set&& set, AfterSet&& afterSet) {
  RuleSet rules;
  if (!LoadInput(method, rules)) return false;
  const uint32_t code = std::forward<Set>(set)(static_cast<const RuleSet&>(rules));
  method.SetResult(code);
  std::forward<AfterSet>(afterSet)(code);
  return true;
}

// Reports `get(rules)` and, on 0, answers the rule set by the answer rule.
template <class RuleSet, class Get>
bool GetRuleSet(IPolicyMethod& method, Get&& get) {
  RuleSet rules;
  const uint32_t code = std::forward<Get>(get)(rules);
  Answer(method, code, rules);
  return true;
}

}  // namespace EnterpriseIntegration
