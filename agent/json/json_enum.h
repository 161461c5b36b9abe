#pragma once
// Enumerations and flag sets in JSON: each is an ordered table from a 32-bit
// code to its name, declared once as a constant, e.g.
//
//   inline constexpr auto kMainActionNames = EnumNames({
//       {0, "rejectOrDeleteEmail"},
//       {1, "redirectEmail"},
//   });
//   inline constexpr auto kTrafficNames = FlagNames({
//       {1, "incoming"},
//       {2, "outgoing"},
//       {4, "internal"},
//   });
//
// A table that breaks its rules (codes not ascending, a repeated or empty
// name, a flag that is not a single bit) does not compile when declared
// constexpr.
//
// Enumeration: a JSON string, matched exactly (case-sensitive) against the
// names; saving writes the code's name, and a code not in the table has no
// JSON form (the key is left out). Flag set: a JSON array of names, ORed
// together; saving writes the names of the set bits in ascending code order
// (bits without a name are not written).
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <type_traits>

#include <json/value.h>

namespace EnterpriseIntegration {

struct EnumName {
  uint32_t code = 0;
  std::string_view name;
};

// What the load and save routines see of a table.
struct NameTableView {
  const EnumName* rows = nullptr;
  size_t count = 0;
  // Flag sets only: an unknown name is passed over instead of failing.
  bool skip_unknown = false;

  const EnumName* FindName(std::string_view name) const noexcept;
  const EnumName* FindCode(uint32_t code) const noexcept;
};

namespace detail {

// The text of a JSON string, without copying; false for any other type.
inline bool StringViewOf(const Json::Value& value, std::string_view& text) {
  const char* begin = nullptr;
  const char* end = nullptr;
  if (!value.isString() || !value.getString(&begin, &end)) return false;
  text = std::string_view(begin, static_cast<size_t>(end - begin));
  return true;
}

template <size_t N>
constexpr void CheckNameRows(const EnumName (&rows)[N], bool flags) {
  for (size_t i = 0; i < N; ++i) {
    if (rows[i].name.empty()) throw std::logic_error("a name table row without a name");
    if (flags && (rows[i].code == 0 || (rows[i].code & (rows[i].code - 1)) != 0)) {
      throw std::logic_error("a flag is not a single bit");
    }
    if (i > 0 && rows[i].code <= rows[i - 1].code) {
      throw std::logic_error("name table codes must ascend");
    }
    for (size_t j = 0; j < i; ++j) {
      if (rows[j].name == rows[i].name) throw std::logic_error("a name appears twice");
    }
  }
}

}  // namespace detail

template <size_t N>
class EnumTable {
 public:
  constexpr explicit EnumTable(const EnumName (&rows)[N]) {
    detail::CheckNameRows(rows, false);
    for (size_t i = 0; i < N; ++i) rows_[i] = rows[i];
  }
  constexpr NameTableView view() const noexcept { return {rows_, N, false}; }

 private:
  EnumName rows_[N] = {};
};

template <size_t N>
class FlagTable {
 public:
  constexpr explicit FlagTable(const EnumName (&rows)[N]) {
    detail::CheckNameRows(rows, true);
    for (size_t i = 0; i < N; ++i) rows_[i] = rows[i];
  }
  // The same table, but loading passes over names it does not know (at least
  // one known name is still needed).
  constexpr FlagTable SkippingUnknownNames() const noexcept {
    FlagTable table = *this;
    table.skip_unknown_ = true;
    return table;
  }
  constexpr NameTableView view() const noexcept { return {rows_, N, skip_unknown_}; }

 private:
  EnumName rows_[N] = {};
  bool skip_unknown_ = false;
};

template <size_t N>
constexpr EnumTable<N> EnumNames(const EnumName (&rows)[N]) {
  return EnumTable<N>(rows);
}
template <size_t N>
constexpr FlagTable<N> FlagNames(const EnumName (&rows)[N]) {
  return FlagTable<N>(rows);
}

template <class T>
struct IsEnumTable : std::false_type {};
template <size_t N>
struct IsEnumTable<EnumTable<N>> : std::true_type {};
template <class T>
struct IsFlagTable : std::false_type {};
template <size_t N>
struct IsFlagTable<FlagTable<N>> : std::true_type {};

// The value-level routines behind the enumeration and flag-set primitives.
// Loads leave `out` unchanged on failure.
bool LoadEnumValue(const Json::Value& value, const NameTableView& table, uint32_t& out);
bool SaveEnumValue(uint32_t code, const NameTableView& table, Json::Value& out);
bool LoadFlagsValue(const Json::Value& value, const NameTableView& table, uint32_t& out);
void SaveFlagsValue(uint32_t flags, const NameTableView& table, Json::Value& out);

}  // namespace EnterpriseIntegration
