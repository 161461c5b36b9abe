#include "agent/json/json_schema_writer.h"

#include <string>

namespace EnterpriseIntegration {

// "$" also matches before a final line feed in some validators' regular
// expressions; nothing after the match at all is this.
const char kEndOfText[] = "(?![\\s\\S])";

Json::Value TypeSchema(const char* type) {
  Json::Value schema(Json::objectValue);
  schema["type"] = type;
  return schema;
}

Json::Value IntegerSchema(int64_t low, int64_t high) {
  Json::Value schema = TypeSchema("integer");
  schema["minimum"] = Json::Value(static_cast<Json::Int64>(low));
  schema["maximum"] = Json::Value(static_cast<Json::Int64>(high));
  return schema;
}

Json::Value UnsignedSchema(uint64_t low, uint64_t high) {
  Json::Value schema = TypeSchema("integer");
  schema["minimum"] = Json::Value(static_cast<Json::UInt64>(low));
  schema["maximum"] = Json::Value(static_cast<Json::UInt64>(high));
  return schema;
}

namespace {

Json::Value NamesOf(const NameTableView& table) {
  Json::Value names(Json::arrayValue);
  for (size_t i = 0; i < table.count; ++i) {
    const std::string_view name = table.rows[i].name;
    names.append(Json::Value(name.data(), name.data() + name.size()));
  }
  return names;
}

}  // namespace

Json::Value EnumSchema(const NameTableView& table) {
  Json::Value schema = TypeSchema("string");
  schema["enum"] = NamesOf(table);
  return schema;
}

Json::Value FlagsSchema(const NameTableView& table, SchemaDirection direction) {
  Json::Value schema = TypeSchema("array");
  Json::Value known = EnumSchema(table);
  if (direction == SchemaDirection::kOutput) {
    // Each set bit's name once, in code order; no bit set is [].
    schema["items"] = std::move(known);
    schema["uniqueItems"] = true;
    return schema;
  }
  // An empty set is refused; so is a set of names none of which is known.
  schema["minItems"] = 1;
  if (table.skip_unknown) {
    schema["items"] = TypeSchema("string");
    schema["contains"] = std::move(known);
    AddDescription(schema, "Names other than these are passed over.");
  } else {
    schema["items"] = std::move(known);
  }
  return schema;
}

Json::Value GuidSchema(SchemaDirection direction) {
  Json::Value schema = TypeSchema("string");
  if (direction == SchemaDirection::kOutput) {
    schema["pattern"] = "^[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}$";
    return schema;
  }
  // The parser reads five hexadecimal numbers between dashes, braces
  // optional, and stops there.
  schema["pattern"] = "^\\{?[0-9A-Fa-f]{1,16}(-[0-9A-Fa-f]{1,16}){4}";
  AddDescription(schema, "Five hexadecimal groups between dashes, braces optional.");
  return schema;
}

void AddDescription(Json::Value& schema, std::string_view text) {
  if (!schema.isObject()) schema = Json::Value(Json::objectValue);
  Json::Value& description = schema["description"];
  std::string joined = description.isString() ? description.asString() + " " : std::string();
  joined.append(text.data(), text.size());
  description = joined;
}

Json::Value EitherSchema(Json::Value a, Json::Value b) {
  if (a == b) return a;
  Json::Value schema(Json::objectValue);
  Json::Value& options = schema["anyOf"];
  for (Json::Value* side : {&a, &b}) {
    // anyOf inside anyOf adds nothing: its options join this one's.
    if (side->isObject() && side->size() == 1 && side->isMember("anyOf")) {
      for (Json::Value& option : (*side)["anyOf"]) options.append(std::move(option));
    } else {
      options.append(std::move(*side));
    }
  }
  return schema;
}

namespace detail {

void PrimitiveSchema<StringCodec>::Write(const StringCodec&, SchemaDirection direction,
                                         Json::Value& out) {
  if (direction == SchemaDirection::kOutput) {
    out = TypeSchema("string");
    return;
  }
  out = Json::Value(Json::objectValue);
  out["type"].append("string");
  out["type"].append("integer");
  AddDescription(out, "An integer reads as its decimal text.");
}

void PrimitiveSchema<IPv4Codec>::Write(const IPv4Codec&, SchemaDirection, Json::Value& out) {
  out = TypeSchema("string");
  // Each number is read as the C library's conversion reads it: blanks and a
  // sign before it and anything but a dot after its digits pass, if its value
  // is below 256 ("-0" is 0). The prefix is 1 to 32 in one or two digits.
  constexpr char kOctet[] =
      "\\s*(\\+?0*(25[0-5]|2[0-4][0-9]|1[0-9]{2}|[1-9]?[0-9])|-0+)([^./0-9][^./]*)?";
  out["pattern"] = std::string("^") + kOctet + "(\\." + kOctet + "){3}(/(3[0-2]|[12][0-9]|0?[1-9]))?" +
                   kEndOfText;
  AddDescription(out, "Dotted decimal, each number up to 255, with an optional \"/prefix\".");
}

Json::Value ObjectSchema(SchemaDirection direction) {
  Json::Value schema = TypeSchema("object");
  schema["properties"] = Json::Value(Json::objectValue);
  // Loading passes over keys it does not know; saving writes only its own.
  if (direction == SchemaDirection::kOutput) schema["additionalProperties"] = false;
  return schema;
}

namespace {

void Require(Json::Value& object, const std::string& name) {
  Json::Value& required = object["required"];
  for (const Json::Value& present : required) {
    if (present.asString() == name) return;
  }
  required.append(name);
}

}  // namespace

Json::Value& PropertyAt(Json::Value& object, std::string_view key, bool required,
                        SchemaDirection direction) {
  PathReader reader(key);
  PathSegment segment;
  Json::Value* at = &object;
  bool first = true;
  while (reader.Next(segment)) {
    if (segment.has_index || segment.name.empty()) {
      throw std::logic_error("a schema key with an index has no schema form");
    }
    if (!first) {
      // The step before this one is an object of its own.
      if (at->isNull()) *at = ObjectSchema(direction);
      if (!at->isMember("properties")) {
        throw std::logic_error("a key path runs through a key that is not an object");
      }
    }
    first = false;
    const std::string name(segment.name);
    if (required) Require(*at, name);
    at = &(*at)["properties"][name];
  }
  return *at;
}

namespace {

bool IsObjectSchema(const Json::Value& schema) {
  return schema.isObject() && schema.isMember("properties") && schema["type"] == "object";
}

}  // namespace

void MergeProperty(Json::Value& slot, Json::Value value) {
  if (slot.isNull()) {
    slot = std::move(value);
    return;
  }
  if (!IsObjectSchema(slot) || !IsObjectSchema(value)) {
    slot = EitherSchema(std::move(slot), std::move(value));
    return;
  }
  // One object reached by two fields (a key path into a nested structure's
  // key): its keys are both fields' keys.
  Json::Value& properties = value["properties"];
  for (const std::string& name : properties.getMemberNames())
    MergeProperty(slot["properties"][name], std::move(properties[name]));
  for (const Json::Value& name : value["required"]) Require(slot, name.asString());
  if (value.isMember("description")) AddDescription(slot, value["description"].asString());
}

void AddConditionalKey(Json::Value& object, Json::Value condition, std::string_view key,
                       bool required, const Json::Value& value) {
  Json::Value rule(Json::objectValue);
  rule["if"] = std::move(condition);
  Json::Value& then = rule["then"] = Json::Value(Json::objectValue);
  then["properties"] = Json::Value(Json::objectValue);
  // Open objects along a path: the rule adds to the object, it does not close it.
  MergeProperty(PropertyAt(then, key, required, SchemaDirection::kInput), value);
  object["allOf"].append(std::move(rule));
}

void NoteCheck(Json::Value& object, const char* rule) {
  if (rule != nullptr) {
    AddDescription(object, std::string("The module also checks, beyond this schema: ") + rule);
    return;
  }
  AddDescription(object, "The module also checks rules across these keys that this schema does "
                         "not state; an input valid here may still be refused.");
}

}  // namespace detail

}  // namespace EnterpriseIntegration
