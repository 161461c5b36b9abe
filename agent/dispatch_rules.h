#pragma once
// How an agent's RunPolicyMethod finds and reports: the dispatcher is written
// once (AgentBase::RunPolicyMethod) and reads these rules. Most agents keep
// the defaults; an agent whose console contract differs (exact names, other
// message texts or levels, another pre-check name) supplies its own.
#include <cstdint>

#include "frame/logging/log.h"

namespace EnterpriseIntegration {

enum class NameMatch : uint8_t {
  kIgnoringCase,  // wide-character compare ignoring case
  kExact,         // whole name, case-sensitive
};

// The accessors of the policy-method object the pre-check requires, tested in
// the order listed here (policy, name, input, output).
enum RequiredAccessor : uint8_t {
  kNeedsPolicy = 1,
  kNeedsName = 2,
  kNeedsInput = 4,
  kNeedsOutput = 8,
};

struct LogMessage {
  uint32_t level;
  const wchar_t* format;  // null: not logged
};

struct DispatchRules {
  NameMatch match = NameMatch::kIgnoringCase;
  // "<agent name>." in front of a method name is dropped (only at the start).
  bool stripPrefix = true;
  // The pre-check's function name in log lines; null for
  // "<class>::RunPolicyMethod::<lambda_1>::operator ()".
  const wchar_t* precheckName = nullptr;
  uint8_t requiredAccessors = kNeedsPolicy | kNeedsInput | kNeedsOutput;

  // Pre-check refusals: 21, 160 and 13.
  LogMessage noPlugins{logging::kLevelMissingPrerequisite, L"Don't have one of the two plugins"};
  LogMessage nullMethod{logging::kLevelMissingPrerequisite, L"invalid policy parameter"};
  LogMessage badData{logging::kLevelMissingPrerequisite, L"invalid policy data"};

  // Each takes the (stripped) method name as its one "%s", if it has one.
  LogMessage methodName{logging::kLevelTrace, L"Method name is '%s'"};
  LogMessage notFound{logging::kLevelFailure, L"Function %s not found"};
  LogMessage validationFailed{logging::kLevelFailure, L"%s - input validation failed"};
};

// The module's usual rules: prefix stripped, names ignoring case.
inline constexpr DispatchRules kDefaultDispatchRules{};

}  // namespace EnterpriseIntegration
