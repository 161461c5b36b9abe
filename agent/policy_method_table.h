#pragma once
// An agent's policy methods: rows of {name, handler, input, output}, looked
// up by name (ignoring case, or exactly, as the agent's dispatch rules say),
// first match wins. The input and output say what the handler reads and
// writes (method_schema.h), so that the row that dispatches also describes:
//
//   const PolicyMethodEntry kMethods[] = {
//       {L"SetRBLSettings", Handle<&Agent::SetRBLSettings>, kInputOf<RBLSettings>, kNoOutput},
//       {L"GetRBLSettings", Handle<&Agent::GetRBLSettings>, kNoInput, kOutputOf<RBLSettings>},
//   };
//
// A handler returns true when the input was valid and it has reported its own
// result through the method object; false when the input failed validation.
#include <cstddef>

#include "agent/dispatch_rules.h"
#include "agent/method_schema.h"
#include "sdk/policy_method.h"

namespace EnterpriseIntegration {

class AgentBase;

using PolicyHandler = bool (*)(AgentBase& agent, IPolicyMethod& method);

struct PolicyMethodEntry {
  const wchar_t* name;
  PolicyHandler handler;
  MethodShape input;
  MethodShape output;
};

struct PolicyMethodTable : RowTable<PolicyMethodEntry> {
  using RowTable::RowTable;

  // The first row whose name equals `name` by `match`, or null.
  const PolicyMethodEntry* Find(const wchar_t* name,
                                NameMatch match = NameMatch::kIgnoringCase) const;
};

namespace detail {
template <class M>
struct MemberOf;
template <class C>
struct MemberOf<bool (C::*)(IPolicyMethod&)> {
  using Class = C;
};
}  // namespace detail

// Adapts a member handler `bool Agent::Method(IPolicyMethod&)` to a table row.
template <auto Method>
bool Handle(AgentBase& agent, IPolicyMethod& method) {
  using Agent = typename detail::MemberOf<decltype(Method)>::Class;
  return (static_cast<Agent&>(agent).*Method)(method);
}

}  // namespace EnterpriseIntegration
