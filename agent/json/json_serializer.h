#pragma once
// Structures in JSON. Each structure declares its keys once, in a schema, and
// that one declaration drives both loading and saving:
//
//   template <>
//   struct JsonSchema<RBLSettings> : JsonSchemaBase<RBLSettings> {
//     using S = RBLSettings;
//     static constexpr auto kFields = Fields(
//         //       key                     member                  type, default
//         Optional(k::kDnsTimeout,        &S::dnsTimeout),        // unsigned
//         Optional(k::kSkipSystemServers, &S::skipSystemServers), // boolean
//         Optional(k::kDnsAddress,        &S::dnsAddress),        // string
//         Optional(k::kServers,           &S::servers));          // [RBLServer]
//     // Cross-field rule, after every key loaded.
//     static bool Check(const S& s) { ... }
//   };
//
// (Schemas keep their columns aligned between "// clang-format off" and "on".)
// The JSON type follows from the member's C++ type (json_primitives.h);
// enumerations and flag sets name their table (json_enum.h) after the member.
//
// Fields, in the order they are loaded and saved:
//   Required(key, &S::m, ...)    absent or unloadable: the load fails.
//   Optional(key, &S::m, ...)    absent: skipped, the member keeps the value
//                                the caller put there, or takes Default(v)
//                                (Default() for the type's own default);
//                                present: as Required.
//   BestEffort(key, &S::m, ...)  loaded when present and loadable, otherwise
//                                ignored: the member keeps its value and the
//                                key is not logged (keys inside a nested
//                                structure still log their own failures).
//   Inline(&S::m), InlineBase<B>()
//                                a nested structure whose keys stand in this
//                                same object (a shared rule header).
// Modifiers after the member, in any order:
//   a name table or a codec      how the value converts (a table given for a
//                                list names its elements);
//   Default(v), Default()        Optional only;
//   When(predicate)              the key exists only when predicate(structure)
//                                holds, judged on what is loaded so far (for
//                                a key that depends on an earlier one);
//   kLoadOnly, kSaveOnly         one direction only. A key read always but
//                                written only sometimes is two fields: one
//                                kLoadOnly, one kSaveOnly with When(...).
// A key may be a key path ("onDetection/stopProcessing"); a malformed key, or
// one that names no member, does not compile.
//
// Loading (JsonSerializer<T>::Load): the node must be an object; every field
// in order; the first failure ends the load with false, leaving what loaded
// before it in place (callers discard a failed structure). Each failing key is
// logged once, by itself, at the level where it failed, and every enclosing
// key after it: "aggressivity" failing inside "scanSettings" writes
// "Failed to load subnode aggressivity", then "... scanSettings". Then the
// schema's Check, which can fail the load without a log line.
//
// Saving (JsonSerializer<T>::Save): a fresh object with every field that
// applies, optional ones included, in order, paths created as needed. A value
// without a JSON form (an enumeration code missing from its table) leaves its
// key out; that is the documents' convention, not a failure.
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include <json/value.h>

#include "agent/json/json_enum.h"
#include "agent/json/json_keys.h"
#include "agent/json/json_path.h"
#include "agent/json/json_primitives.h"

namespace EnterpriseIntegration {

// Specialized once per structure, deriving from JsonSchemaBase<T>.
template <class T>
struct JsonSchema;

enum class Presence : uint8_t { kRequired, kOptional, kBestEffort };

namespace detail {

struct NoDefault {
  template <class M>
  void ApplyTo(M&) const {}
};
struct TypeDefault {
  template <class M>
  void ApplyTo(M& member) const {
    member = M();
  }
};
template <class V>
struct DefaultValue {
  V value;
  template <class M>
  void ApplyTo(M& member) const {
    member = value;
  }
};

struct Always {
  template <class S>
  constexpr bool operator()(const S&) const noexcept {
    return true;
  }
};
template <class P>
struct Condition {
  P predicate;
};

struct LoadOnlyTag {};
struct SaveOnlyTag {};

template <class T>
struct IsDefault : std::false_type {};
template <>
struct IsDefault<TypeDefault> : std::true_type {};
template <class V>
struct IsDefault<DefaultValue<V>> : std::true_type {};
template <class T>
struct IsCondition : std::false_type {};
template <class P>
struct IsCondition<Condition<P>> : std::true_type {};

template <class T>
inline constexpr bool kIsModifier =
    kIsConversion<T> || IsDefault<T>::value || IsCondition<T>::value ||
    std::is_same_v<T, LoadOnlyTag> || std::is_same_v<T, SaveOnlyTag>;

template <class M>
constexpr auto PickCodec() {
  return DefaultCodecOf<M>();
}
template <class M, class First, class... Rest>
constexpr auto PickCodec(const First& first, const Rest&... rest) {
  if constexpr (kIsConversion<First>) {
    return CodecFor<M>(first);
  } else {
    return PickCodec<M>(rest...);
  }
}

constexpr NoDefault PickDefault() { return {}; }
template <class First, class... Rest>
constexpr auto PickDefault(const First& first, const Rest&... rest) {
  if constexpr (IsDefault<First>::value) {
    return first;
  } else {
    return PickDefault(rest...);
  }
}

constexpr Always PickCondition() { return {}; }
template <class First, class... Rest>
constexpr auto PickCondition(const First& first, const Rest&... rest) {
  if constexpr (IsCondition<First>::value) {
    return first.predicate;
  } else {
    return PickCondition(rest...);
  }
}

template <Presence P, class S, class M, class Codec, class Fallback, class When>
struct Field {
  std::string_view key;
  M S::*member;
  Codec codec;
  Fallback fallback;
  When when;
  bool plain;  // the key is one member name: looked up without walking a path
  bool loads;
  bool saves;

  JsonNodeRef Child(const JsonNodeRef& parent) const noexcept {
    const Json::Value* node = parent.node();
    if (plain && node != nullptr && node->isObject()) {
      return JsonNodeRef(node->find(key.data(), key.data() + key.size()), key);
    }
    return JsonNodeRef(parent, key);
  }
  Json::Value* Slot(Json::Value& object) const {
    if (plain && object.isObject()) return object.demand(key.data(), key.data() + key.size());
    return ResolveForSave(object, key);
  }
};

template <Presence P, class S, class C, class M, class... Mods>
constexpr auto MakeField(std::string_view key, M C::*member, const Mods&... mods) {
  static_assert(std::is_base_of_v<C, S>, "the member belongs to another structure");
  static_assert((kIsModifier<Mods> && ...), "not a field modifier");
  static_assert(((kIsConversion<Mods> ? 1 : 0) + ... + 0) <= 1, "two conversions for one key");
  static_assert(((IsDefault<Mods>::value ? 1 : 0) + ... + 0) <= 1, "two defaults for one key");
  static_assert(((IsCondition<Mods>::value ? 1 : 0) + ... + 0) <= 1, "two conditions for one key");
  static_assert(P == Presence::kOptional || !(IsDefault<Mods>::value || ...),
                "only an optional key has a default");
  PathReader reader(key);
  PathSegment segment;
  if (!reader.Next(segment) || !IsWellFormedPath(key)) {
    throw std::logic_error("a field key must be a well-formed path to a member");
  }
  using Codec = decltype(PickCodec<M>(mods...));
  using Fallback = decltype(PickDefault(mods...));
  using When = decltype(PickCondition(mods...));
  return Field<P, S, M, Codec, Fallback, When>{key,
                                               member,
                                               PickCodec<M>(mods...),
                                               PickDefault(mods...),
                                               PickCondition(mods...),
                                               IsPlainKey(key),
                                               !(std::is_same_v<Mods, SaveOnlyTag> || ...),
                                               !(std::is_same_v<Mods, LoadOnlyTag> || ...)};
}

template <class S, class M>
struct InlineMember {
  M S::*member;
  M& Of(S& s) const { return s.*member; }
  const M& Of(const S& s) const { return s.*member; }
};
template <class S, class B>
struct InlineBaseOf {
  static B& Of(S& s) { return s; }
  static const B& Of(const S& s) { return s; }
};

}  // namespace detail

template <class S>
struct JsonSchemaBase {
  template <class C, class M, class... Mods>
  static constexpr auto Required(std::string_view key, M C::*member, const Mods&... mods) {
    return detail::MakeField<Presence::kRequired, S>(key, member, mods...);
  }
  template <class C, class M, class... Mods>
  static constexpr auto Optional(std::string_view key, M C::*member, const Mods&... mods) {
    return detail::MakeField<Presence::kOptional, S>(key, member, mods...);
  }
  template <class C, class M, class... Mods>
  static constexpr auto BestEffort(std::string_view key, M C::*member, const Mods&... mods) {
    return detail::MakeField<Presence::kBestEffort, S>(key, member, mods...);
  }
  template <class C, class M>
  static constexpr detail::InlineMember<S, M> Inline(M C::*member) {
    static_assert(std::is_base_of_v<C, S>, "the member belongs to another structure");
    return {member};
  }
  template <class B>
  static constexpr detail::InlineBaseOf<S, B> InlineBase() {
    static_assert(std::is_base_of_v<B, S> && !std::is_same_v<B, S>, "not a base of the structure");
    return {};
  }

  static constexpr detail::TypeDefault Default() { return {}; }
  template <class V>
  static constexpr detail::DefaultValue<V> Default(V value) {
    return {value};
  }
  template <class P>
  static constexpr detail::Condition<P> When(P predicate) {
    return {predicate};
  }
  static constexpr detail::LoadOnlyTag kLoadOnly{};
  static constexpr detail::SaveOnlyTag kSaveOnly{};

  template <class... F>
  static constexpr std::tuple<F...> Fields(const F&... fields) {
    return std::tuple<F...>(fields...);
  }

  // No cross-field rule unless the schema declares its own Check.
  static bool Check(const S&) { return true; }
};

template <class T>
struct StructCodec : JsonCodec {
  bool Load(const JsonNodeRef& at, T& out) const {
    const Json::Value* node = at.node();
    if (node == nullptr || !node->isObject()) return false;
    return LoadMembers(at, out);
  }
  bool Save(const T& value, Json::Value& out) const {
    out = Json::Value(Json::objectValue);
    SaveMembers(value, out);
    return true;
  }

  // The keys of T in the object at `at` (which is an object), then T's check.
  static bool LoadMembers(const JsonNodeRef& at, T& out);
  // The keys of T into `object`, beside what is there.
  static void SaveMembers(const T& value, Json::Value& object);
};

namespace detail {

template <Presence P, class S, class M, class Codec, class Fallback, class When>
bool LoadField(const Field<P, S, M, Codec, Fallback, When>& field, const JsonNodeRef& at, S& out) {
  if (!field.loads || !field.when(static_cast<const S&>(out))) return true;
  const JsonNodeRef child = field.Child(at);
  M& member = out.*field.member;
  if constexpr (P == Presence::kRequired) {
    return LoadLogged(field.codec, child, member);
  } else if constexpr (P == Presence::kOptional) {
    if (child.IsAbsent()) {
      field.fallback.ApplyTo(member);
      return true;
    }
    return LoadLogged(field.codec, child, member);
  } else {
    // Into a scratch value: a failed attempt must not touch the member, as
    // the primitives that reset their target would.
    if (child.IsAbsent()) return true;
    try {
      M value{};
      if (field.codec.Load(child, value)) member = std::move(value);
    } catch (...) {
    }
    return true;
  }
}

template <Presence P, class S, class M, class Codec, class Fallback, class When>
void SaveField(const Field<P, S, M, Codec, Fallback, When>& field, const S& value,
               Json::Value& object) {
  if (!field.saves || !field.when(value)) return;
  Json::Value item;
  if (!field.codec.Save(value.*field.member, item)) return;
  if (Json::Value* slot = field.Slot(object)) *slot = std::move(item);
}

template <class S, class Nested>
bool LoadField(const Nested& field, const JsonNodeRef& at, S& out) {
  using M = std::remove_reference_t<decltype(field.Of(out))>;
  return StructCodec<M>::LoadMembers(at, field.Of(out));
}
template <class S, class Nested>
void SaveField(const Nested& field, const S& value, Json::Value& object) {
  using M = std::remove_cv_t<std::remove_reference_t<decltype(field.Of(value))>>;
  StructCodec<M>::SaveMembers(field.Of(value), object);
}

}  // namespace detail

template <class T>
bool StructCodec<T>::LoadMembers(const JsonNodeRef& at, T& out) {
  const bool loaded =
      std::apply([&](const auto&... field) { return (detail::LoadField(field, at, out) && ...); },
                 JsonSchema<T>::kFields);
  return loaded && JsonSchema<T>::Check(static_cast<const T&>(out));
}

template <class T>
void StructCodec<T>::SaveMembers(const T& value, Json::Value& object) {
  std::apply([&](const auto&... field) { (detail::SaveField(field, value, object), ...); },
             JsonSchema<T>::kFields);
}

// Loads and saves a whole T: a structure by its schema, any other type by its
// primitive. Nothing thrown leaves them.
template <class T>
class JsonSerializer {
 public:
  // An absent context node fails the load.
  static bool Load(const JsonNodeRef& context, T& out) noexcept {
    try {
      return DefaultCodecOf<T>().Load(context, out);
    } catch (...) {
      return false;
    }
  }
  // Replaces `node` with T's JSON form; on failure `node` is left as it was.
  static bool Save(Json::Value& node, const T& value) noexcept {
    try {
      Json::Value fresh;
      if (!DefaultCodecOf<T>().Save(value, fresh)) return false;
      node = std::move(fresh);
      return true;
    } catch (...) {
      return false;
    }
  }
};

// Loads one named sub-node for a hand-written serializer, with the same
// logging as a schema field: false when the context is absent (not logged);
// otherwise the sub-node at `key` (a key path) with the conversion of `out`'s
// type, or the one given, logging "Failed to load subnode <key>" on failure.
class JsonComposedSerializer {
 public:
  template <class T>
  static bool Load(const JsonNodeRef& context, std::string_view key, T& out) noexcept {
    return Load(context, key, out, DefaultCodecOf<T>());
  }
  template <class T, class How>
  static bool Load(const JsonNodeRef& context, std::string_view key, T& out,
                   const How& how) noexcept {
    if (context.IsAbsent()) return false;
    return detail::LoadLogged(CodecFor<T>(how), JsonNodeRef(context, key), out);
  }
};

}  // namespace EnterpriseIntegration
