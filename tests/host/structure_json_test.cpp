// Structures in scripts: one field list per structure drives both reading and
// writing, through nested structures, lists and maps.
#include "host/plugins/structure_json.h"

#include <string>

#include <gtest/gtest.h>

#include "host/kelhost/expectations.h"
#include "tests/host/json_text.h"

namespace kelhost {
namespace {

// Shaped like what scan results and quarantine items will need.
struct Rule {
  kel::StringW name;
  uint64_t hits = 0;
  bool matched = false;
};

struct Module {
  kel::Guid id;
  int64_t started = 0;
  kel::List<Rule> rules;
  kel::Map<kel::StringW, kel::StringW> headers;
};

struct Scan {
  uint8_t enabled = 0;
  uint32_t status = 0;
  Module main;
  kel::List<Module> modules;
  kel::Map<kel::StringW, Module> byName;
  kel::Map<kel::StringW, uint64_t> counters;
  kel::List<kel::Guid> ids;
};

const auto kRuleFields = [](auto& io, auto& r) {
  io.String("name", r.name);
  io.UInt64("hits", r.hits);
  io.Bool("matched", r.matched);
};
const auto kModuleFields = [](auto& io, auto& m) {
  io.Guid("id", m.id);
  io.Int64("started", m.started);
  io.List("rules", m.rules, kRuleFields);
  io.Map("headers", m.headers);
};
const auto kScanFields = [](auto& io, auto& s) {
  io.Flag("enabled", s.enabled);
  io.UInt32("status", s.status);
  io.Structure("main", s.main, kModuleFields);
  io.List("modules", s.modules, kModuleFields);
  io.Map("byName", s.byName, kModuleFields);
  io.Map("counters", s.counters);
  io.List("ids", s.ids);
};

bool Read(const Json::Value& json, Scan& scan, std::string& problem) {
  StructureReader reader(json, "Scan");
  kScanFields(reader, scan);
  return reader.Finish(problem);
}

Json::Value Write(const Scan& scan) { return StructureWriter::Write(scan, kScanFields); }

constexpr const char* kFull = R"({
  "enabled": true, "status": 4294967295,
  "main": {"id": "0123abcd-4567-89ef-0011-223344556677", "started": -9223372036854775808,
           "rules": [], "headers": {}},
  "modules": [
    {"id": "00000000-0000-0000-0000-000000000001", "started": 0, "rules": [], "headers": {}},
    {"id": "ffffffff-ffff-ffff-ffff-ffffffffffff", "started": 9223372036854775807,
     "rules": [{"name": "r1", "hits": 18446744073709551615, "matched": true},
               {"name": "\u00e9", "hits": 0, "matched": false}],
     "headers": {"Content-Type": "text/plain", "X": ""}}],
  "byName": {"av": {"id": "00000000-0000-0000-0000-000000000002", "started": 7,
                    "rules": [{"name": "r", "hits": 1, "matched": false}], "headers": {"a": "b"}}},
  "counters": {"scanned": 18446744073709551615, "zero": 0},
  "ids": ["0123abcd-4567-89ef-0011-223344556677", "00000000-0000-0000-0000-000000000000"]
})";

TEST(StructureJsonTest, EveryKindRoundTrips) {
  Scan scan;
  std::string problem;
  ASSERT_TRUE(Read(J(kFull), scan, problem)) << problem;
  EXPECT_TRUE(JsonEqual(Write(scan), J(kFull))) << CompactJson(Write(scan));
  // The halves as frame/guid.h lays them out, not only the text back.
  EXPECT_EQ(scan.main.id.high, 0x0123abcd456789efull);
  EXPECT_EQ(scan.main.id.low, 0x0011223344556677ull);
}

TEST(StructureJsonTest, GuidsReadWithOrWithoutBracesAndAnyCase) {
  Scan scan;
  std::string problem;
  ASSERT_TRUE(Read(J(R"({"ids":["{0123ABCD-4567-89EF-0011-223344556677}",
                                 "0123abcd-4567-89ef-0011-223344556677"]})"),
                   scan, problem))
      << problem;
  EXPECT_TRUE(JsonEqual(Write(scan)["ids"], J(R"(["0123abcd-4567-89ef-0011-223344556677",
                                                  "0123abcd-4567-89ef-0011-223344556677"])")));
}

TEST(StructureJsonTest, MembersLeftOutKeepTheirValuesAtEveryDepth) {
  Scan scan;
  std::string problem;
  ASSERT_TRUE(Read(J(kFull), scan, problem)) << problem;
  ASSERT_TRUE(Read(J(R"({"main":{"started":5},"status":1})"), scan, problem)) << problem;
  Json::Value expected = J(kFull);
  expected["main"]["started"] = 5;
  expected["status"] = 1;
  EXPECT_TRUE(JsonEqual(Write(scan), expected)) << CompactJson(Write(scan));
}

// Each refusal names the member by its path and what it must be, and leaves
// the structure as it was.
TEST(StructureJsonTest, RefusalsNameThePathAndChangeNothing) {
  struct Case {
    const char* json;
    const char* problem;
  };
  const Case cases[] = {
      {R"([])", "Scan must be a JSON object"},
      {R"({"enabled":1})", "Scan.enabled must be true or false"},
      {R"({"status":1.0})", "Scan.status must be an unsigned 32-bit integer"},
      {R"({"status":4294967296})", "Scan.status must be an unsigned 32-bit integer"},
      {R"({"main":[]})", "Scan.main must be a JSON object"},
      {R"({"main":{"started":"1"}})", "Scan.main.started must be a signed 64-bit integer"},
      {R"({"main":{"started":-1.0}})", "Scan.main.started must be a signed 64-bit integer"},
      {R"({"main":{"started":9223372036854775808}})",
       "Scan.main.started must be a signed 64-bit integer"},
      {R"({"main":{"id":"0123abcd-4567-89ef-0011-2233445566"}})",
       "Scan.main.id must be a GUID text (8-4-4-4-12 hex digits, braces optional)"},
      {R"({"main":{"id":"0123abcd-4567-89ef-00112-23344556677"}})",
       "Scan.main.id must be a GUID text (8-4-4-4-12 hex digits, braces optional)"},
      {R"({"main":{"id":"{0123abcd-4567-89ef-0011-223344556677"}})",
       "Scan.main.id must be a GUID text (8-4-4-4-12 hex digits, braces optional)"},
      {R"({"main":{"started":5,"rules":[{"name":"a","hitz":1}]}})",
       R"(Scan.main.rules[0] has no field "hitz")"},
      {R"({"modules":{}})", "Scan.modules must be an array"},
      {R"({"modules":[{},{"rules":[{},{"hits":-1}]}]})",
       "Scan.modules[1].rules[1].hits must be an unsigned 64-bit integer"},
      {R"({"modules":[7]})", "Scan.modules[0] must be a JSON object"},
      {R"({"byName":[]})", "Scan.byName must be an object"},
      {R"({"byName":{"av":{"headers":{"a":1}}}})",
       R"(Scan.byName["av"].headers["a"] must be a string)"},
      {R"({"counters":{"n":2.0}})", R"(Scan.counters["n"] must be an unsigned 64-bit integer)"},
      {R"({"counters":{"n":18446744073709551616}})",
       R"(Scan.counters["n"] must be an unsigned 64-bit integer)"},
      {R"({"ids":["0123abcd-4567-89ef-0011-223344556677",null]})",
       "Scan.ids[1] must be a GUID text (8-4-4-4-12 hex digits, braces optional)"},
      {R"({"extra":2})", R"(Scan has no field "extra")"},
  };
  for (const Case& c : cases) {
    Scan scan;
    std::string problem;
    ASSERT_TRUE(Read(J(kFull), scan, problem)) << problem;
    EXPECT_FALSE(Read(J(c.json), scan, problem)) << c.json;
    EXPECT_EQ(problem, c.problem) << c.json;
    EXPECT_TRUE(JsonEqual(Write(scan), J(kFull)))
        << c.json << " changed " << CompactJson(Write(scan));
  }
}

}  // namespace
}  // namespace kelhost
