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
  for (const PolicyMethodEntry& row : *this) {
    if (!row.name || !row.handler) continue;
    const bool same = match == NameMatch::kExact ? std::wcscmp(row.name, name) == 0
                                                 : EqualIgnoringCase(row.name, name);
    if (same) return &row;
  }
  return nullptr;
}

}  // namespace EnterpriseIntegration
