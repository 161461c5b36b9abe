#pragma once
// A view of a static table of rows that an agent declares, such as its policy
// methods or its events. The table lives in the agent's own storage for the
// module's lifetime; the view only points at it.
#include <cstddef>

namespace EnterpriseIntegration {

template <class Row>
struct RowTable {
  const Row* rows = nullptr;
  size_t count = 0;

  RowTable() = default;
  template <size_t N>
  RowTable(const Row (&table)[N]) : rows(table), count(N) {}  // NOLINT: a table reads as its view

  const Row* begin() const noexcept { return rows; }
  const Row* end() const noexcept { return rows + count; }
};

}  // namespace EnterpriseIntegration
