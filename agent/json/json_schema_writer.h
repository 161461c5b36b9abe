#pragma once
// JSON Schema (draft 2020-12) documents written from the same declarations
// that load and save (json_serializer.h): a describe walk over a structure's
// Fields, never a schema written by hand.
//
//   Json::Value input = SchemaOf<RBLSettings>(SchemaDirection::kInput);
//
// Two directions, because loading and saving are not mirror images:
//   kInput   what a load accepts: only keys that load, Required keys
//            required, the defaults of Optional keys, the lenient readings of
//            the primitives (an integer for a boolean or a string, a negative
//            32-bit number as its pattern), unknown keys allowed (they are
//            ignored);
//   kOutput  what a save writes: only keys that save, every key required that
//            is always written, nothing else in the object.
// A key that exists only when an enumeration key before it has certain
// values (When) is stated as "if" that key is one of those names "then" this
// key, under "allOf"; the names are found by trying the condition on each.
// What a schema cannot say is said in "description": a condition on anything
// else, and a structure's cross-field Check. One difference is known and
// left: a validator takes 1.0 for an integer, which a load refuses.
//
// The primitives' codecs are described here. A codec of one's own describes
// itself with a member
//   void Describe(SchemaDirection direction, Json::Value& out) const;
// and a codec that has none does not compile into a schema. `out` is a
// fresh null value; helpers below build the usual shapes.
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include <json/value.h>

#include "agent/json/json_serializer.h"

namespace EnterpriseIntegration {

enum class SchemaDirection : uint8_t { kInput, kOutput };

// The schema of T's JSON form (a structure by its schema, any other type by
// its primitive), with "$schema" naming the draft.
template <class T>
Json::Value SchemaOf(SchemaDirection direction);

// The schema of a value converted by `codec` (no "$schema").
template <class Codec>
void DescribeCodec(const Codec& codec, SchemaDirection direction, Json::Value& out);

// The draft's identifier.
inline constexpr char kSchemaDialect[] = "https://json-schema.org/draft/2020-12/schema";

// ---- shapes for codecs that describe themselves ----

// {"type": type}
Json::Value TypeSchema(const char* type);
// {"type": "integer", "minimum": low, "maximum": high}
Json::Value IntegerSchema(int64_t low, int64_t high);
Json::Value UnsignedSchema(uint64_t low, uint64_t high);
// {"type": "string", "enum": [the table's names]}
Json::Value EnumSchema(const NameTableView& table);
// A flag set: an array of the table's names (input: at least one, and with
// a table that skips unknown names, any string beside one known name).
Json::Value FlagsSchema(const NameTableView& table, SchemaDirection direction);
// A GUID text: the canonical form on output; on input what the parser takes.
Json::Value GuidSchema(SchemaDirection direction);
// Ends a "pattern" at the very end of the text (a "$" would let a final line
// feed through in some validators).
extern const char kEndOfText[];
// Adds `text` to the schema's "description" (a sentence after any already there).
void AddDescription(Json::Value& schema, std::string_view text);
// {"anyOf": [a, b]}, or a when both are the same.
Json::Value EitherSchema(Json::Value a, Json::Value b);

namespace detail {

template <class Codec, class = void>
struct HasOwnDescribe : std::false_type {};
template <class Codec>
struct HasOwnDescribe<Codec, std::void_t<decltype(std::declval<const Codec&>().Describe(
                                 SchemaDirection::kInput, std::declval<Json::Value&>()))>>
    : std::true_type {};

// Whether saving a value through the codec always writes it. Only an
// enumeration can have no JSON form (a code missing from its table).
template <class Codec>
struct AlwaysSaves : std::true_type {};
template <class E>
struct AlwaysSaves<EnumCodec<E>> : std::false_type {};

// The codec of the primitives and of structures (specialised below).
template <class Codec>
struct PrimitiveSchema {
  static_assert(sizeof(Codec) == 0,
                "a codec of one's own needs "
                "void Describe(SchemaDirection, Json::Value&) const to be described");
};

template <class B>
struct PrimitiveSchema<BoolCodec<B>> {
  static void Write(const BoolCodec<B>&, SchemaDirection direction, Json::Value& out) {
    if (direction == SchemaDirection::kOutput) {
      out = TypeSchema("boolean");
      return;
    }
    out = Json::Value(Json::objectValue);
    out["type"].append("boolean");
    out["type"].append("integer");
    AddDescription(out, "An integer reads as true when it is not 0.");
  }
};

template <class I>
struct PrimitiveSchema<IntegerCodec<I>> {
  static void Write(const IntegerCodec<I>&, SchemaDirection direction, Json::Value& out) {
    using Wire = typename IntegerCodec<I>::Wire;
    if constexpr (std::is_signed_v<Wire>) {
      out = IntegerSchema(std::numeric_limits<Wire>::min(), std::numeric_limits<Wire>::max());
    } else if (direction == SchemaDirection::kOutput) {
      out = UnsignedSchema(0, std::numeric_limits<Wire>::max());
    } else {
      // A negative number is taken as its bit pattern: from the signed
      // minimum of the same width up to the unsigned maximum.
      using Signed = std::make_signed_t<Wire>;
      out = IntegerSchema(std::numeric_limits<Signed>::min(), 0);
      out["maximum"] = Json::Value(static_cast<Json::UInt64>(std::numeric_limits<Wire>::max()));
      AddDescription(out, "A negative number stands for its two's complement bit pattern.");
    }
  }
};

template <>
struct PrimitiveSchema<StringCodec> {
  static void Write(const StringCodec&, SchemaDirection direction, Json::Value& out);
};
template <>
struct PrimitiveSchema<Utf8Codec> {
  static void Write(const Utf8Codec&, SchemaDirection, Json::Value& out) {
    out = TypeSchema("string");
  }
};
template <>
struct PrimitiveSchema<GuidCodec> {
  static void Write(const GuidCodec&, SchemaDirection direction, Json::Value& out) {
    out = GuidSchema(direction);
  }
};
template <>
struct PrimitiveSchema<IPv4Codec> {
  static void Write(const IPv4Codec&, SchemaDirection direction, Json::Value& out);
};

template <class E>
struct PrimitiveSchema<EnumCodec<E>> {
  static void Write(const EnumCodec<E>& codec, SchemaDirection, Json::Value& out) {
    out = EnumSchema(codec.table);
  }
};
template <class E>
struct PrimitiveSchema<FlagCodec<E>> {
  static void Write(const FlagCodec<E>& codec, SchemaDirection direction, Json::Value& out) {
    out = FlagsSchema(codec.table, direction);
  }
};

template <class T, class ElementCodec>
struct PrimitiveSchema<ListCodec<T, ElementCodec>> {
  static void Write(const ListCodec<T, ElementCodec>& codec, SchemaDirection direction,
                    Json::Value& out) {
    Json::Value items;
    DescribeCodec(codec.element, direction, items);
    // An element without a JSON form is saved as null to keep the others'
    // positions.
    if (direction == SchemaDirection::kOutput && !AlwaysSaves<ElementCodec>::value)
      items = EitherSchema(std::move(items), TypeSchema("null"));
    out = TypeSchema("array");
    out["items"] = std::move(items);
  }
};

template <class I, int64_t Min, int64_t Max>
struct PrimitiveSchema<BoundedIntegerCodec<I, Min, Max>> {
  static void Write(const BoundedIntegerCodec<I, Min, Max>&, SchemaDirection direction,
                    Json::Value& out) {
    if (direction == SchemaDirection::kInput) {
      out = IntegerSchema(Min, Max);
    } else {
      DescribeCodec(IntegerCodec<I>(), direction, out);
    }
  }
};

template <class Map, class ValueCodec>
struct PrimitiveSchema<MapCodec<Map, ValueCodec>> {
  static void Write(const MapCodec<Map, ValueCodec>& codec, SchemaDirection direction,
                    Json::Value& out) {
    out = TypeSchema("object");
    DescribeCodec(codec.value, direction, out["additionalProperties"]);
  }
};

// ---- the walk over a structure's Fields ----

// The object schema being filled: {"type":"object","properties":{...},
// "required":[...]}, closed on output.
Json::Value ObjectSchema(SchemaDirection direction);

// The schema of the property at `key` (a key path) inside `object`, creating
// the objects along the path; `required` marks every step required. The
// value already there, if any, is what the caller merges with.
Json::Value& PropertyAt(Json::Value& object, std::string_view key, bool required,
                        SchemaDirection direction);

// Puts `value` at the property slot: as it is, or beside what another field
// of the same key (under another condition) put there.
void MergeProperty(Json::Value& slot, Json::Value value);

// Appends the text that says a structure's cross-field rule is the module's:
// `rule` (what it checks, in words) or, when null, that there is one.
void NoteCheck(Json::Value& object, const char* rule);

// A schema with a Check says what it checks in `static constexpr char
// kCheckRule[]`, for the schema document's readers.
template <class S, class = void>
struct CheckRuleOf {
  static constexpr const char* kText = nullptr;
};
template <class S>
struct CheckRuleOf<S, std::void_t<decltype(JsonSchema<S>::kCheckRule)>> {
  static constexpr const char* kText = JsonSchema<S>::kCheckRule;
};

template <class S>
void DescribeMembers(SchemaDirection direction, Json::Value& object);

template <class T>
struct IsField : std::false_type {};
template <Presence P, class S, class M, class Codec, class Fallback, class When>
struct IsField<Field<P, S, M, Codec, Fallback, When>> : std::true_type {};

// An unconditional key named by an enumeration table.
template <class T>
struct IsEnumField : std::false_type {};
template <Presence P, class S, class M, class E, class Fallback>
struct IsEnumField<Field<P, S, M, EnumCodec<E>, Fallback, Always>> : std::true_type {
  using Member = M;
  static constexpr Presence kPresence = P;
};

// A condition (When) that follows from one enumeration key of the same
// structure is stated as the names of that key for which it holds: each name
// is tried on a fresh structure. The first unconditional enumeration key
// whose names split the condition is taken; none (a condition on something
// else) leaves the condition unstated: null.
template <class S, class When, class F>
void TrySelector(const When& when, const F& selector, SchemaDirection direction,
                 Json::Value& condition) {
  if constexpr (IsField<F>::value) {
    if constexpr (IsEnumField<F>::value && std::is_default_constructible_v<S>) {
      using Selector = typename IsEnumField<F>::Member;
      const bool input = direction == SchemaDirection::kInput;
      // On input only a required key says what the structure will hold: an
      // absent optional one leaves a value the condition was not tried on.
      if (!condition.isNull() || !selector.plain || (input ? !selector.loads : !selector.saves) ||
          (input && IsEnumField<F>::kPresence != Presence::kRequired))
        return;
      const NameTableView& table = selector.codec.table;
      Json::Value names(Json::arrayValue);
      for (size_t i = 0; i < table.count; ++i) {
        S trial{};
        trial.*(selector.member) = static_cast<Selector>(table.rows[i].code);
        if (when(static_cast<const S&>(trial))) {
          names.append(Json::Value(table.rows[i].name.data(),
                                   table.rows[i].name.data() + table.rows[i].name.size()));
        }
      }
      if (names.empty() || names.size() == table.count) return;
      const std::string key(selector.key);
      condition = Json::Value(Json::objectValue);
      condition["properties"][key]["enum"] = std::move(names);
      condition["required"].append(key);
    }
  }
}

template <class S, class When, class Fields>
Json::Value ConditionOf(const When& when, const Fields& fields, SchemaDirection direction) {
  Json::Value condition;
  std::apply(
      [&](const auto&... selector) { (TrySelector<S>(when, selector, direction, condition), ...); },
      fields);
  return condition;
}

// An "if"/"then" rule: with the condition met, the key is as described (and
// required when `required`).
void AddConditionalKey(Json::Value& object, Json::Value condition, std::string_view key,
                       bool required, const Json::Value& value);

template <Presence P, class S, class M, class Codec, class Fallback, class When, class Fields>
void DescribeNamedField(const Field<P, S, M, Codec, Fallback, When>& field,
                        SchemaDirection direction, Json::Value& object, const Fields& fields) {
  const bool input = direction == SchemaDirection::kInput;
  if (input ? !field.loads : !field.saves) return;
  constexpr bool kAlways = std::is_same_v<When, Always>;
  // Whether the key is there whenever its condition holds.
  const bool present = input ? P == Presence::kRequired : AlwaysSaves<Codec>::value;
  Json::Value value;
  DescribeCodec(field.codec, direction, value);
  if constexpr (IsDefault<Fallback>::value) {
    M fallback{};
    field.fallback.ApplyTo(fallback);
    Json::Value written;
    if (input && field.codec.Save(fallback, written)) value["default"] = std::move(written);
  }
  if (input && P == Presence::kBestEffort) {
    // Whatever does not convert is ignored: the schema documents the value
    // and accepts any.
    Json::Value ignored(Json::objectValue);
    ignored["description"] = "Any other value is ignored.";
    value = EitherSchema(std::move(value), std::move(ignored));
  }
  if constexpr (!kAlways) {
    Json::Value condition = ConditionOf<S>(field.when, fields, direction);
    if (condition.isNull()) {
      AddDescription(value, "Present only when other keys' values call for it.");
    } else {
      AddConditionalKey(object, std::move(condition), field.key, present, value);
      AddDescription(value, "Present only for some values of another key (see allOf).");
    }
  }
  MergeProperty(PropertyAt(object, field.key, kAlways && present, direction), std::move(value));
}

// A named field, or a nested structure whose keys stand in the same object.
template <class S, class F>
void DescribeField(const F& field, SchemaDirection direction, Json::Value& object) {
  if constexpr (IsField<F>::value) {
    DescribeNamedField(field, direction, object, JsonSchema<S>::kFields);
  } else {
    using M = std::remove_cv_t<std::remove_reference_t<decltype(field.Of(std::declval<S&>()))>>;
    DescribeMembers<M>(direction, object);
  }
}

template <class S>
void DescribeMembers(SchemaDirection direction, Json::Value& object) {
  std::apply([&](const auto&... field) { (DescribeField<S>(field, direction, object), ...); },
             JsonSchema<S>::kFields);
  // A cross-field rule only refuses: what is saved is whatever the structure holds.
  if (direction == SchemaDirection::kInput && &JsonSchema<S>::Check != &JsonSchemaBase<S>::Check)
    NoteCheck(object, CheckRuleOf<S>::kText);
}

template <class T>
struct PrimitiveSchema<StructCodec<T>> {
  static void Write(const StructCodec<T>&, SchemaDirection direction, Json::Value& out) {
    out = ObjectSchema(direction);
    DescribeMembers<T>(direction, out);
  }
};

}  // namespace detail

template <class Codec>
void DescribeCodec(const Codec& codec, SchemaDirection direction, Json::Value& out) {
  out = Json::Value();
  if constexpr (detail::HasOwnDescribe<Codec>::value) {
    codec.Describe(direction, out);
  } else {
    detail::PrimitiveSchema<Codec>::Write(codec, direction, out);
  }
}

template <class T>
Json::Value SchemaOf(SchemaDirection direction) {
  Json::Value schema;
  DescribeCodec(DefaultCodecOf<T>(), direction, schema);
  Json::Value document(Json::objectValue);
  document["$schema"] = kSchemaDialect;
  for (const std::string& key : schema.getMemberNames()) document[key] = std::move(schema[key]);
  return document;
}

}  // namespace EnterpriseIntegration
