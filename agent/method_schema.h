#pragma once
// What a policy method reads and writes, and what an event carries, as the
// rows that dispatch and send declare it: each shape names the structure
// whose schema (json_serializer.h) does the loading or saving, and the
// schema documents are written from it (json/json_schema_writer.h).
//
//   {L"GetTask", Handle<&Agent::GetTask>, kInputOf<TaskIdRequest>,
//    kOutputAt<keys::kTask, IOnDemand::Task>},
//
// A shape is one of:
//   kInputOf<T>, kOutputOf<T>       the whole input / answer is T
//   kInputAt<Key, T>, kOutputAt<..> T under one key (path) of an object
//   kNoInput                        the input is not read
//   kNoOutput                       nothing is written into the output
//   SchemaShape(&Write)             a writer of one's own, from the helpers
//                                   of json_schema_writer.h (an input of two
//                                   forms, content that is partly open)
// A row that declares nothing is "undeclared", which the schema test refuses.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include <json/value.h>

#include "agent/json/json_schema_writer.h"
#include "agent/row_table.h"

namespace EnterpriseIntegration {

enum class ShapeKind : uint8_t { kUndeclared, kNone, kSchema };

using SchemaWriter = void (*)(Json::Value& schema);

struct MethodShape {
  ShapeKind kind = ShapeKind::kUndeclared;
  SchemaWriter write = nullptr;  // kSchema
};

namespace detail {

template <class T, SchemaDirection D>
void WriteWhole(Json::Value& schema) {
  schema = SchemaOf<T>(D);
}

template <const char* Key, class T, SchemaDirection D>
void WriteAt(Json::Value& schema) {
  schema = ObjectSchema(D);
  schema["$schema"] = kSchemaDialect;
  DescribeCodec(DefaultCodecOf<T>(), D, PropertyAt(schema, Key, true, D));
}

}  // namespace detail

template <class T>
inline constexpr MethodShape kInputOf{ShapeKind::kSchema,
                                      &detail::WriteWhole<T, SchemaDirection::kInput>};
template <class T>
inline constexpr MethodShape kOutputOf{ShapeKind::kSchema,
                                       &detail::WriteWhole<T, SchemaDirection::kOutput>};
template <const char* Key, class T>
inline constexpr MethodShape kInputAt{ShapeKind::kSchema,
                                      &detail::WriteAt<Key, T, SchemaDirection::kInput>};
template <const char* Key, class T>
inline constexpr MethodShape kOutputAt{ShapeKind::kSchema,
                                       &detail::WriteAt<Key, T, SchemaDirection::kOutput>};

inline constexpr MethodShape kNoInput{ShapeKind::kNone};
inline constexpr MethodShape kNoOutput{ShapeKind::kNone};

constexpr MethodShape SchemaShape(SchemaWriter write) { return {ShapeKind::kSchema, write}; }

// The schema a shape stands for, as the agent's schema document lists it.
// `input` tells the two meanings of kNone apart.
Json::Value ShapeSchema(const MethodShape& shape, bool input);

// An agent's events: the name it sends under and the body's shape.
struct EventEntry {
  const wchar_t* name;
  MethodShape body;
};

struct EventTable : RowTable<EventEntry> {
  using RowTable::RowTable;
};

template <class T>
inline constexpr MethodShape kBodyOf = kOutputOf<T>;

}  // namespace EnterpriseIntegration
