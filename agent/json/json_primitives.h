#pragma once
// The typed load and save primitives, and the codecs that the schemas of
// json_serializer.h are built from.
//
// Loading is strict: a value of the wrong JSON type fails; the only
// acceptances across types are an integer as a boolean and an integer as a
// string. No jsoncpp as*() conversion is trusted to refuse a type: each
// primitive tests the type itself.
//
//   C++ type                JSON accepted on load                    JSON saved
//   bool, uint8_t (a byte   boolean; integer (true when non-zero)    boolean
//    is a boolean, as in
//    the plug-in records)
//   uint32_t (any 32-bit    integer from -2^31 to 2^32-1; a          unsigned integer
//    unsigned)              negative one as its 32-bit pattern
//   int32_t                 integer from -2^31 to 2^31-1             integer
//   uint64_t                integer; a negative one as its pattern   unsigned integer
//   int64_t                 integer from -2^63 to 2^63-1             integer
//   kel::StringW            string (UTF-8, see frame/text_convert.h);  string
//                           integer, as its decimal text ("-12")
//   kel::Guid               string in the Guid text form             string
//   IPv4                    string in the dotted form                string
//   enumeration, flag set   see json_enum.h
//   kel::List<T>            array; every element loads as T          array
//   std::string (UTF-8)     - (written only)                         string
//   a map (MapCodec)        - (written only)                         object
//   structure               object, by its schema (json_serializer.h)  object
//
// Doubles never load as integers, whatever their value. Integer loads (the
// boolean's included) reset the target to 0 before anything else, so a failed
// load leaves 0; the other loads leave the target as it was on failure,
// except a list, which is emptied once its array has been found.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <json/value.h>

#include "agent/json/json_enum.h"
#include "agent/json/json_path.h"
#include "frame/guid.h"
#include "frame/ipv4.h"
#include "frame/list.h"
#include "frame/string.h"

namespace EnterpriseIntegration {

// Value-level routines: the value is present; false when its type (or range)
// is not accepted.
bool LoadBoolValue(const Json::Value& value, bool& out);
bool LoadIntegerValue(const Json::Value& value, uint32_t& out);
bool LoadIntegerValue(const Json::Value& value, int32_t& out);
bool LoadIntegerValue(const Json::Value& value, uint64_t& out);
bool LoadIntegerValue(const Json::Value& value, int64_t& out);
bool LoadStringValue(const Json::Value& value, kel::StringW& out);
bool LoadGuidValue(const Json::Value& value, kel::Guid& out);
bool LoadIPv4Value(const Json::Value& value, kel::nusdk::Network::IPv4& out);
void SaveStringValue(const kel::StringW& text, Json::Value& out);
void SaveGuidValue(const kel::Guid& guid, Json::Value& out);
void SaveIPv4Value(const kel::nusdk::Network::IPv4& address, Json::Value& out);

// A codec converts between one JSON value and one C++ value:
//   bool Load(const JsonNodeRef& at, T& out) const;  // at may be absent: false
//   bool Save(const T& value, Json::Value& out) const;
// Save receives a fresh null value; false means the value has no JSON form
// (an enumeration code without a name) and the caller leaves the key out.
// Every codec derives from JsonCodec, which is how a schema tells a codec
// from its other modifiers; a schema may bring a codec of its own.
struct JsonCodec {};

template <class B>
struct BoolCodec : JsonCodec {
  bool Load(const JsonNodeRef& at, B& out) const {
    out = static_cast<B>(0);
    bool value = false;
    if (at.IsAbsent() || !LoadBoolValue(*at.node(), value)) return false;
    out = static_cast<B>(value);
    return true;
  }
  bool Save(const B& value, Json::Value& out) const {
    out = Json::Value(value != static_cast<B>(0));
    return true;
  }
};

template <class I>
struct IntegerCodec : JsonCodec {
  static_assert(sizeof(I) == 4 || sizeof(I) == 8, "integers travel as 32 or 64 bits");
  using Wire =
      std::conditional_t<sizeof(I) == 4, std::conditional_t<std::is_signed_v<I>, int32_t, uint32_t>,
                         std::conditional_t<std::is_signed_v<I>, int64_t, uint64_t>>;
  using JsonType =
      std::conditional_t<sizeof(I) == 4,
                         std::conditional_t<std::is_signed_v<I>, Json::Int, Json::UInt>,
                         std::conditional_t<std::is_signed_v<I>, Json::Int64, Json::UInt64>>;

  bool Load(const JsonNodeRef& at, I& out) const {
    out = 0;
    Wire value = 0;
    if (at.IsAbsent() || !LoadIntegerValue(*at.node(), value)) return false;
    out = static_cast<I>(value);
    return true;
  }
  bool Save(const I& value, Json::Value& out) const {
    out = Json::Value(static_cast<JsonType>(value));
    return true;
  }
};

struct StringCodec : JsonCodec {
  bool Load(const JsonNodeRef& at, kel::StringW& out) const {
    return !at.IsAbsent() && LoadStringValue(*at.node(), out);
  }
  bool Save(const kel::StringW& value, Json::Value& out) const {
    SaveStringValue(value, out);
    return true;
  }
};

// Text already in UTF-8, kept as it is (no conversion through wide text).
// Written only: what the console sends is read into wide strings.
struct Utf8Codec : JsonCodec {
  bool Save(const std::string& value, Json::Value& out) const {
    out = Json::Value(value);
    return true;
  }
};

struct GuidCodec : JsonCodec {
  bool Load(const JsonNodeRef& at, kel::Guid& out) const {
    return !at.IsAbsent() && LoadGuidValue(*at.node(), out);
  }
  bool Save(const kel::Guid& value, Json::Value& out) const {
    SaveGuidValue(value, out);
    return true;
  }
};

struct IPv4Codec : JsonCodec {
  bool Load(const JsonNodeRef& at, kel::nusdk::Network::IPv4& out) const {
    return !at.IsAbsent() && LoadIPv4Value(*at.node(), out);
  }
  bool Save(const kel::nusdk::Network::IPv4& value, Json::Value& out) const {
    SaveIPv4Value(value, out);
    return true;
  }
};

namespace detail {

template <class E>
constexpr void CheckCodeType() {
  constexpr bool kCode = std::is_integral_v<E> || std::is_enum_v<E>;
  static_assert(kCode && sizeof(E) == 4, "enumerations and flag sets are 32-bit codes");
}

}  // namespace detail

// An enumeration member (a 32-bit integer or enum) named by a table.
template <class E>
struct EnumCodec : JsonCodec {
  constexpr explicit EnumCodec(NameTableView names) : table(names) { detail::CheckCodeType<E>(); }
  bool Load(const JsonNodeRef& at, E& out) const {
    uint32_t code = 0;
    if (at.IsAbsent() || !LoadEnumValue(*at.node(), table, code)) return false;
    out = static_cast<E>(code);
    return true;
  }
  bool Save(const E& value, Json::Value& out) const {
    return SaveEnumValue(static_cast<uint32_t>(value), table, out);
  }
  NameTableView table;
};

// A flag-set member (a 32-bit integer or enum) named by a table.
template <class E>
struct FlagCodec : JsonCodec {
  constexpr explicit FlagCodec(NameTableView names) : table(names) { detail::CheckCodeType<E>(); }
  bool Load(const JsonNodeRef& at, E& out) const {
    uint32_t flags = 0;
    if (at.IsAbsent() || !LoadFlagsValue(*at.node(), table, flags)) return false;
    out = static_cast<E>(flags);
    return true;
  }
  bool Save(const E& value, Json::Value& out) const {
    SaveFlagsValue(static_cast<uint32_t>(value), table, out);
    return true;
  }
  NameTableView table;
};

namespace detail {

// Writes "Failed to load subnode <key>" at the sub-node failure level when
// logging is active (json_serializer.cpp).
void WriteSubnodeFailure(const JsonNodeRef& at) noexcept;

// Loads `at` with `codec` and logs `at`'s key when that fails; the wall at
// which anything thrown below turns into a failure of this node.
template <class Codec, class T>
bool LoadLogged(const Codec& codec, const JsonNodeRef& at, T& out) noexcept {
  bool loaded = false;
  try {
    loaded = codec.Load(at, out);
  } catch (...) {
    loaded = false;
  }
  if (!loaded) WriteSubnodeFailure(at);
  return loaded;
}

}  // namespace detail

// A list of T, its elements converted by ElementCodec. Loading needs an array
// (null or another type fails, and the list is left as it was); the list is
// then emptied and every element loaded in order, each logged by its own key
// ("servers[2]") if it fails, which fails the list. Saving writes an array,
// an empty list as []. An element without a JSON form is saved as null, so
// that the others keep their positions.
template <class T, class ElementCodec>
struct ListCodec : JsonCodec {
  constexpr ListCodec() = default;
  constexpr explicit ListCodec(const ElementCodec& codec) : element(codec) {}

  bool Load(const JsonNodeRef& at, kel::List<T>& out) const {
    const Json::Value* array = at.node();
    if (array == nullptr || !array->isArray()) return false;
    out.RemoveAll();
    // The iterator walks the elements without a lookup per index; an index
    // it does not hold (an array built with gaps) reads as null, as indexing
    // would.
    const Json::ArrayIndex size = array->size();
    Json::Value::const_iterator it = array->begin();
    const Json::Value::const_iterator end = array->end();
    for (Json::ArrayIndex i = 0; i < size; ++i) {
      const Json::Value* item = &Json::Value::nullSingleton();
      if (it != end && it.index() == i) {
        item = &*it;
        ++it;
      }
      T& value = out.EmplaceBack();
      if (!detail::LoadLogged(element, JsonNodeRef::Element(item, at.key(), i), value)) {
        return false;
      }
    }
    return true;
  }

  bool Save(const kel::List<T>& list, Json::Value& out) const {
    out = Json::Value(Json::arrayValue);
    for (const T& value : list) {
      Json::Value item;
      if (!element.Save(value, item)) item = Json::Value();
      out.append(std::move(item));
    }
    return true;
  }

  ElementCodec element;
};

// An integer that must lie from Min to Max to load: a range the member's
// type alone does not give. Saved as the type's own integer.
template <class I, int64_t Min, int64_t Max>
struct BoundedIntegerCodec : JsonCodec {
  // An unsigned load reads a negative number as its bit pattern, which a
  // range on the value read could not state.
  static_assert(std::is_signed_v<I>, "a range is on a signed integer");
  static_assert(Min <= Max, "an empty range");
  bool Load(const JsonNodeRef& at, I& out) const {
    if (!IntegerCodec<I>().Load(at, out)) return false;
    const int64_t value = static_cast<int64_t>(out);
    if (value >= Min && value <= Max) return true;
    out = 0;
    return false;
  }
  bool Save(const I& value, Json::Value& out) const { return IntegerCodec<I>().Save(value, out); }
};

namespace detail {

std::string MapKeyText(const kel::StringW& key);
inline const std::string& MapKeyText(const std::string& key) { return key; }

template <class Entry, class = void>
struct IsPair : std::false_type {};
template <class Entry>
struct IsPair<Entry, std::void_t<decltype(std::declval<const Entry&>().first)>> : std::true_type {};

template <class Entry>
decltype(auto) EntryKey(const Entry& entry) {
  if constexpr (IsPair<Entry>::value) {
    return MapKeyText(entry.first);
  } else {
    return MapKeyText(entry.key);
  }
}
template <class Entry>
const auto& EntryValue(const Entry& entry) {
  if constexpr (IsPair<Entry>::value) {
    return entry.second;
  } else {
    return entry.value;
  }
}

}  // namespace detail

// A map from texts to values, as an object whose member names are the texts
// (UTF-8). Either a standard map of std::string keys (entries .first and
// .second) or a kel::Map of wide strings (entries .key and .value). An
// entry whose value has no JSON form is left out. Written only: the maps are
// reports of the module's own.
template <class Map, class ValueCodec>
struct MapCodec : JsonCodec {
  constexpr MapCodec() = default;
  constexpr explicit MapCodec(const ValueCodec& codec) : value(codec) {}

  bool Save(const Map& map, Json::Value& out) const {
    out = Json::Value(Json::objectValue);
    for (const auto& entry : map) {
      Json::Value item;
      if (value.Save(detail::EntryValue(entry), item))
        out[detail::EntryKey(entry)] = std::move(item);
    }
    return true;
  }

  ValueCodec value;
};

// A structure with a JsonSchema (json_serializer.h).
template <class T>
struct StructCodec;

template <class T>
struct IsList : std::false_type {};
template <class T>
struct IsList<kel::List<T>> : std::true_type {};

template <class T>
struct NeedsNameTable : JsonCodec {
  static_assert(sizeof(T) == 0, "an enumeration member needs its name table in the schema");
};

// The codec a type gets when the schema names none.
template <class T, class = void>
struct DefaultCodecFor {
  using type = StructCodec<T>;
};
template <>
struct DefaultCodecFor<bool> {
  using type = BoolCodec<bool>;
};
template <>
struct DefaultCodecFor<uint8_t> {
  using type = BoolCodec<uint8_t>;
};
template <class T>
struct DefaultCodecFor<
    T, std::enable_if_t<std::is_integral_v<T> && (sizeof(T) == 4 || sizeof(T) == 8)>> {
  using type = IntegerCodec<T>;
};
template <class T>
struct DefaultCodecFor<T, std::enable_if_t<std::is_enum_v<T>>> {
  using type = NeedsNameTable<T>;
};
template <>
struct DefaultCodecFor<kel::StringW> {
  using type = StringCodec;
};
template <>
struct DefaultCodecFor<std::string> {
  using type = Utf8Codec;
};
template <>
struct DefaultCodecFor<kel::Guid> {
  using type = GuidCodec;
};
template <>
struct DefaultCodecFor<kel::nusdk::Network::IPv4> {
  using type = IPv4Codec;
};
template <class T>
struct DefaultCodecFor<kel::List<T>> {
  using type = ListCodec<T, typename DefaultCodecFor<T>::type>;
};

template <class T>
using DefaultCodecOf = typename DefaultCodecFor<T>::type;

// True for what can say how a value is converted: a codec or a name table.
template <class H>
inline constexpr bool kIsConversion =
    std::is_base_of_v<JsonCodec, H> || IsEnumTable<H>::value || IsFlagTable<H>::value;

// The codec for a value of type T converted as `how` says: a codec is taken
// as it is; a name table names T, or the elements of T when T is a list.
template <class T, class How>
constexpr auto CodecFor(const How& how) {
  static_assert(kIsConversion<How>, "not a codec or name table");
  if constexpr (std::is_base_of_v<JsonCodec, How>) {
    return how;
  } else if constexpr (IsList<T>::value) {
    using Element = typename T::value_type;
    return ListCodec<Element, decltype(CodecFor<Element>(how))>(CodecFor<Element>(how));
  } else if constexpr (IsEnumTable<How>::value) {
    return EnumCodec<T>(how.view());
  } else {
    return FlagCodec<T>(how.view());
  }
}

// The primitives by key path. `path` is resolved under `node` (see
// json_path.h); a null node or a path that does not resolve fails the load.
// Nothing thrown leaves them.
template <class T, class How>
bool LoadAt(const Json::Value* node, std::string_view path, T& out, const How& how) noexcept {
  try {
    return CodecFor<T>(how).Load(JsonNodeRef(JsonNodeRef(node), path), out);
  } catch (...) {
    return false;
  }
}
template <class T>
bool LoadAt(const Json::Value* node, std::string_view path, T& out) noexcept {
  return LoadAt(node, path, out, DefaultCodecOf<T>());
}

// Saving assigns a fresh value at `path`, creating the path; false, with the
// document unchanged, when the value has no JSON form or the path cannot be
// made (json_path.h).
template <class T, class How>
bool SaveAt(Json::Value& node, std::string_view path, const T& value, const How& how) noexcept {
  try {
    Json::Value fresh;
    if (!CodecFor<T>(how).Save(value, fresh)) return false;
    Json::Value* slot = ResolveForSave(node, path);
    if (slot == nullptr) return false;
    *slot = std::move(fresh);
    return true;
  } catch (...) {
    return false;
  }
}
template <class T>
bool SaveAt(Json::Value& node, std::string_view path, const T& value) noexcept {
  return SaveAt(node, path, value, DefaultCodecOf<T>());
}

}  // namespace EnterpriseIntegration
