// Schemas written from declarations: what each kind of field turns into in
// each direction. Whether the schemas agree with what the agents really load
// and save is proven against every kelhost script (test_host_schemas), which
// fails on input keys required wrongly, lost names and empty flag sets; here
// stays what it cannot see, such as outputs that say too little and defaults.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "agent/json/json_schema_writer.h"
#include "agent/json/json_serializer.h"
#include "tests/agent/json_test_util.h"

namespace schema_sample {

enum class Mode : uint32_t { kOff = 0, kOn = 1, kAuto = 2 };

constexpr auto kModeNames = EnterpriseIntegration::EnumNames({
    {0, "off"},
    {1, "on"},
    {2, "auto"},
});
constexpr auto kSideNames = EnterpriseIntegration::FlagNames({
    {1, "left"},
    {2, "right"},
});
constexpr auto kLenientSideNames = kSideNames.SkippingUnknownNames();

struct Base {
  kel::StringW name;
};
struct Item {
  kel::Guid id;
  int32_t weight = 0;
};
struct Depth {
  uint32_t depth = 0;
};
struct Sample : Base {
  uint8_t on = 0;
  uint32_t u32 = 0;
  int32_t i32 = 0;
  uint64_t u64 = 0;
  int64_t i64 = 0;
  Mode mode = Mode::kOff;
  uint32_t sides = 0;
  uint32_t lenientSides = 0;
  kel::List<Item> items;
  kel::List<Mode> modes;
  kel::StringW note;
  kel::StringW nested;
  Depth outer;
  uint32_t echo = 0;
  uint32_t hint = 0;
  kel::StringW either;
  uint32_t eitherNumber = 0;
};
// An action whose argument depends on which action it is.
struct Action {
  Mode mode = Mode::kOff;
  kel::StringW target;
  uint32_t level = 0;
};

}  // namespace schema_sample

namespace EnterpriseIntegration {

// clang-format off
template <>
struct JsonSchema<schema_sample::Item> : JsonSchemaBase<schema_sample::Item> {
  using S = schema_sample::Item;
  static constexpr auto kFields = Fields(
      Required("id",     &S::id),
      Optional("weight", &S::weight, Default(int32_t{5})));
  static constexpr char kCheckRule[] = "\"weight\" is not negative.";
  static bool Check(const S& s) { return s.weight >= 0; }
};

template <>
struct JsonSchema<schema_sample::Depth> : JsonSchemaBase<schema_sample::Depth> {
  using S = schema_sample::Depth;
  static constexpr auto kFields = Fields(Optional("depth", &S::depth));
  static bool Check(const S& s) { return s.depth < 100; }
};

template <>
struct JsonSchema<schema_sample::Base> : JsonSchemaBase<schema_sample::Base> {
  using S = schema_sample::Base;
  static constexpr auto kFields = Fields(Required("name", &S::name));
};

template <>
struct JsonSchema<schema_sample::Sample> : JsonSchemaBase<schema_sample::Sample> {
  using S = schema_sample::Sample;
  static constexpr auto kFields = Fields(
      InlineBase<schema_sample::Base>(),
      Required(  "on",              &S::on),
      Required(  "u32",             &S::u32),
      Required(  "i32",             &S::i32),
      Optional(  "u64",             &S::u64),
      Optional(  "i64",             &S::i64),
      Optional(  "mode",            &S::mode,         schema_sample::kModeNames, Default(schema_sample::Mode::kAuto)),
      Optional(  "sides",           &S::sides,        schema_sample::kSideNames),
      Optional(  "lenientSides",    &S::lenientSides, schema_sample::kLenientSideNames),
      Optional(  "items",           &S::items),
      Optional(  "modes",           &S::modes,        schema_sample::kModeNames),
      BestEffort("note",            &S::note),
      Required(  "outer/inner",     &S::nested),
      Optional(  "outer",           &S::outer),
      Required(  "echo",            &S::echo,         kLoadOnly),
      Optional(  "echo",            &S::echo,         kSaveOnly, Default(uint32_t{0})),
      Required(  "hint",            &S::hint,         When([](const S& s) { return s.on != 0; })),
      Optional(  "either",          &S::either,       When([](const S& s) { return s.on != 0; })),
      Optional(  "either",          &S::eitherNumber, When([](const S& s) { return s.on == 0; })));
};

template <>
struct JsonSchema<schema_sample::Action> : JsonSchemaBase<schema_sample::Action> {
  using S = schema_sample::Action;
  static constexpr auto kFields = Fields(
      Required("mode",   &S::mode,   schema_sample::kModeNames),
      Required("target", &S::target, When([](const S& s) { return s.mode != schema_sample::Mode::kOff; })),
      Optional("level",  &S::level,  When([](const S& s) { return s.mode == schema_sample::Mode::kAuto; })));
};
// clang-format on

}  // namespace EnterpriseIntegration

namespace {

using EnterpriseIntegration::SchemaDirection;
using EnterpriseIntegration::SchemaOf;
using json_test::Canonical;
using json_test::Compact;

constexpr SchemaDirection kIn = SchemaDirection::kInput;
constexpr SchemaDirection kOut = SchemaDirection::kOutput;

// The member at a "/"-separated path of plain member names; null when absent.
Json::Value At(const Json::Value& root, const std::string& path) {
  const Json::Value* at = &root;
  size_t start = 0;
  while (start <= path.size()) {
    const size_t end = path.find('/', start);
    const std::string name = path.substr(start, end == std::string::npos ? end : end - start);
    if (!at->isObject() || !at->isMember(name)) return Json::Value();
    at = &(*at)[name];
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return *at;
}

struct Case {
  const char* what;
  SchemaDirection direction;
  const char* path;      // into the sample's schema
  const char* expected;  // JSON text; "null" for absent
};

const Case kCases[] = {
    {"required keys on output: every key always written (not an enumeration, no condition)", kOut,
     "required", R"(["name","on","u32","i32","u64","i64","sides","lenientSides","items",
                           "modes","note","outer","echo"])"},
    {"nothing but its own keys on output", kOut, "additionalProperties", "false"},
    {"a boolean takes an integer on input", kIn, "properties/on/type", R"(["boolean","integer"])"},
    {"a boolean is written as one", kOut, "properties/on", R"({"type":"boolean"})"},
    {"32-bit unsigned: negative as its pattern on input", kIn, "properties/u32",
     R"({"type":"integer","minimum":-2147483648,"maximum":4294967295,
         "description":"A negative number stands for its two's complement bit pattern."})"},
    {"32-bit unsigned written unsigned", kOut, "properties/u32",
     R"({"type":"integer","minimum":0,"maximum":4294967295})"},
    {"32-bit signed", kIn, "properties/i32",
     R"({"type":"integer","minimum":-2147483648,"maximum":2147483647})"},
    {"64-bit unsigned on input", kIn, "properties/u64/minimum", "-9223372036854775808"},
    {"64-bit unsigned on input reaches 2^64-1", kIn, "properties/u64/maximum",
     "18446744073709551615"},
    {"64-bit signed written", kOut, "properties/i64",
     R"({"type":"integer","minimum":-9223372036854775808,"maximum":9223372036854775807})"},
    {"an enumeration is one of its names, with its default by name", kIn, "properties/mode",
     R"({"type":"string","enum":["off","on","auto"],"default":"auto"})"},
    {"no default on output", kOut, "properties/mode",
     R"({"type":"string","enum":["off","on","auto"]})"},
    {"a flag set is written as distinct names, possibly none", kOut, "properties/sides",
     R"({"type":"array","uniqueItems":true,"items":{"type":"string","enum":["left","right"]}})"},
    {"a lenient flag set takes any string beside a known one", kIn, "properties/lenientSides",
     R"({"type":"array","minItems":1,"items":{"type":"string"},
         "contains":{"type":"string","enum":["left","right"]},
         "description":"Names other than these are passed over."})"},
    {"a list of structures: each element by its schema", kIn, "properties/items/items/required",
     R"(["id"])"},
    {"an element's default", kIn, "properties/items/items/properties/weight/default", "5"},
    {"an element's own check is said in its own words", kIn, "properties/items/items/description",
     R"("The module also checks, beyond this schema: \"weight\" is not negative.")"},
    {"a check without words says there is one", kIn, "properties/outer/description",
     R"("The module also checks rules across these keys that this schema does not state; an input valid here may still be refused.")"},
    {"what is written is not checked", kOut, "properties/outer/description", "null"},
    {"a guid is written in the canonical form", kOut,
     "properties/items/items/properties/id/pattern",
     R"("^[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}$")"},
    {"an unnamed element is written as null", kOut, "properties/modes/items",
     R"({"anyOf":[{"type":"string","enum":["off","on","auto"]},{"type":"null"}]})"},
    {"best effort: any value is taken", kIn, "properties/note",
     R"({"anyOf":[{"type":["string","integer"],"description":"An integer reads as its decimal text."},
                  {"description":"Any other value is ignored."}]})"},
    {"a key path and a structure at the same key make one object", kOut, "properties/outer",
     R"({"type":"object","additionalProperties":false,
         "properties":{"inner":{"type":"string"},
                       "depth":{"type":"integer","minimum":0,"maximum":4294967295}},
         "required":["inner","depth"]})"},
    {"a load-only key is read as declared", kIn, "properties/echo/type", R"("integer")"},
    {"its save-only twin has no default on output", kOut, "properties/echo/default", "null"},
    {"a conditional key is never required, and says why", kIn, "properties/hint/description",
     R"("A negative number stands for its two's complement bit pattern. Present only when other keys' values call for it.")"},
    {"one key, two conditional members: either form", kOut, "properties/either/anyOf",
     R"([{"type":"string","description":"Present only when other keys' values call for it."},
         {"type":"integer","minimum":0,"maximum":4294967295,
          "description":"Present only when other keys' values call for it."}])"},
};

TEST(JsonSchemaWriter, EveryKindOfFieldInBothDirections) {
  const Json::Value in = SchemaOf<schema_sample::Sample>(kIn);
  const Json::Value out = SchemaOf<schema_sample::Sample>(kOut);
  for (const Case& c : kCases) {
    const Json::Value& schema = c.direction == kIn ? in : out;
    EXPECT_EQ(Compact(At(schema, c.path)), Canonical(c.expected))
        << c.what << " (" << c.path << ")";
  }
  EXPECT_EQ(in["$schema"].asString(), "https://json-schema.org/draft/2020-12/schema");
  EXPECT_EQ(in["type"].asString(), "object");
}

// A condition on an enumeration key becomes "if" that key is one of the names
// for which the condition holds, "then" the key (required if it must be there).
TEST(JsonSchemaWriter, AConditionOnAnEnumerationIsStatedByItsNames) {
  const struct {
    SchemaDirection direction;
    const char* required;  // an enumeration may have no name to write: never required out
    const char* allOf;
  } cases[] = {
      {kIn, R"(["mode"])",
       R"([{"if":{"properties":{"mode":{"enum":["on","auto"]}},"required":["mode"]},
                "then":{"properties":{"target":{"type":["string","integer"],
                        "description":"An integer reads as its decimal text."}},
                        "required":["target"]}},
               {"if":{"properties":{"mode":{"enum":["auto"]}},"required":["mode"]},
                "then":{"properties":{"level":{"type":"integer","minimum":-2147483648,
                        "maximum":4294967295,
                        "description":"A negative number stands for its two's complement bit pattern."}}}}])"},
      // Saved whenever the condition holds, so required then.
      {kOut, "null", R"([{"if":{"properties":{"mode":{"enum":["on","auto"]}},"required":["mode"]},
                 "then":{"properties":{"target":{"type":"string"}},"required":["target"]}},
                {"if":{"properties":{"mode":{"enum":["auto"]}},"required":["mode"]},
                 "then":{"properties":{"level":{"type":"integer","minimum":0,
                         "maximum":4294967295}},"required":["level"]}}])"},
  };
  for (const auto& c : cases) {
    const Json::Value schema = SchemaOf<schema_sample::Action>(c.direction);
    EXPECT_EQ(Compact(schema["allOf"]), Canonical(c.allOf));
    EXPECT_EQ(Compact(schema["required"]), Canonical(c.required));
  }
}

TEST(JsonSchemaWriter, APrimitiveStandsAlone) {
  EXPECT_EQ(Compact(SchemaOf<kel::List<kel::StringW>>(kOut)),
            Canonical(R"({"$schema":"https://json-schema.org/draft/2020-12/schema",
                         "type":"array","items":{"type":"string"}})"));
}

}  // namespace
