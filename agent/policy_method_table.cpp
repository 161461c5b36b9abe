#include "agent/policy_method_table.h"

#include <cwchar>
#include <cwctype>

namespace EnterpriseIntegration {
namespace {

bool EqualIgnoringCase(const wchar_t* a, const wchar_t* b) {
  for (;; ++a, ++b) {
    if (std::towlower(*a) != std::towlower(*b)) return false;
    if (*a == L'\0') return true;
  }
}

}  // namespace

const PolicyMethodEntry* PolicyMethodTable::Find(const wchar_t* name, NameMatch match) const {
  // An empty row (no name, no handler) only holds a place in a table.
  for (size_t i = 0; i < count; ++i) {
    if (!rows[i].name || !rows[i].handler) continue;
    const bool same = match == NameMatch::kExact ? std::wcscmp(rows[i].name, name) == 0
                                                 : EqualIgnoringCase(rows[i].name, name);
    if (same) return &rows[i];
  }
  return nullptr;
}

}  // namespace EnterpriseIntegration
