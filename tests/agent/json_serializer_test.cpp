// Structures through their schemas: a rule set shaped like the filters' own
// (a shared header kept inline, nested objects, a key path, an optional key
// with a default, an enumeration, a flag set, a list of objects and a
// cross-field rule), loaded, logged and saved; and the engine's one depth
// test and one size test.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <string>
#include <vector>

#include "agent/json/json_path.h"
#include "agent/json/json_serializer.h"
#include "frame/logging/log.h"
#include "frame/text_convert.h"
#include "tests/agent/json_test_util.h"
#include "tests/support/log_sink_probe.h"

namespace test_rules {

enum class Verdict : uint32_t { kReject = 0, kRedirect = 1, kQuarantine = 2, kDeliver = 3 };

constexpr auto kVerdictNames = EnterpriseIntegration::EnumNames({
    {0, "rejectOrDeleteEmail"},
    {1, "redirectEmail"},
    {2, "quarantineEmail"},
    {3, "deliverEmail"},
});
constexpr auto kTrafficNames = EnterpriseIntegration::FlagNames({
    {1, "incoming"},
    {2, "outgoing"},
    {4, "internal"},
});
constexpr uint32_t kAllTraffic = 7;

struct Header {
  uint8_t enabled = 1;
  kel::StringW name;
  kel::StringW description;
  uint32_t traffic = kAllTraffic;
};
struct Server {
  kel::StringW address;
  uint32_t confidence = 0;
};
struct ScanSettings {
  uint32_t aggressivity = 0;
  uint8_t checkAuthenticated = 0;
};
struct MainAction {
  Verdict action = Verdict::kReject;
  kel::StringW address;  // the redirect target
};
struct Rule {
  Header header;
  ScanSettings scanSettings;
  MainAction mainAction;
  uint8_t stopProcessing = 0;
  kel::List<Server> servers;
  kel::StringW dnsAddress;
  uint8_t skipSystemServers = 0;
};

}  // namespace test_rules

namespace EnterpriseIntegration {

namespace k = json_keys;

// clang-format off
template <>
struct JsonSchema<test_rules::Header> : JsonSchemaBase<test_rules::Header> {
  using S = test_rules::Header;
  static constexpr auto kFields = Fields(
      //       key               member            type, default
      Optional(k::kEnabled,      &S::enabled),     // boolean, the caller's
      Required(k::kName,         &S::name),        // string
      Optional(k::kDescription,  &S::description,  Default(L"")),
      Optional(k::kTraffic,      &S::traffic,      test_rules::kTrafficNames,
                                                   Default(test_rules::kAllTraffic)));
};

template <>
struct JsonSchema<test_rules::Server> : JsonSchemaBase<test_rules::Server> {
  using S = test_rules::Server;
  static constexpr auto kFields = Fields(
      Required(k::kAddress,     &S::address),      // string
      Required(k::kConfidence,  &S::confidence));  // unsigned
};

template <>
struct JsonSchema<test_rules::ScanSettings> : JsonSchemaBase<test_rules::ScanSettings> {
  using S = test_rules::ScanSettings;
  static constexpr auto kFields = Fields(
      Required(k::kAggressivity,        &S::aggressivity),         // unsigned
      Required(k::kCheckAuthenticated,  &S::checkAuthenticated));  // boolean
};

template <>
struct JsonSchema<test_rules::MainAction> : JsonSchemaBase<test_rules::MainAction> {
  using S = test_rules::MainAction;
  static constexpr auto kFields = Fields(
      Required(k::kAction,   &S::action,   test_rules::kVerdictNames),
      Required(k::kAddress,  &S::address,  When([](const S& action) {
                 return action.action == test_rules::Verdict::kRedirect;
               })));
};

template <>
struct JsonSchema<test_rules::Rule> : JsonSchemaBase<test_rules::Rule> {
  using S = test_rules::Rule;
  static constexpr auto kFields = Fields(
      Inline(                                      &S::header),
      Required(  k::kScanSettings,                 &S::scanSettings),       // object
      Required(  k::kOnDetectionMainAction,        &S::mainAction),         // object
      BestEffort(k::kOnDetectionStopProcessing,    &S::stopProcessing),     // boolean
      Optional(  k::kServers,                      &S::servers),            // [Server]
      Optional(  k::kDnsAddress,                   &S::dnsAddress),         // string
      Optional(  k::kSkipSystemServers,            &S::skipSystemServers)); // boolean
  // Servers need an address to ask unless the system's own DNS may be used.
  static bool Check(const S& rule) {
    return rule.servers.IsEmpty() || !rule.dnsAddress.IsEmpty() || !rule.skipSystemServers;
  }
};

// clang-format on

}  // namespace EnterpriseIntegration

namespace {

using EnterpriseIntegration::JsonComposedSerializer;
using EnterpriseIntegration::JsonNodeRef;
using EnterpriseIntegration::JsonSerializer;
using json_test::Compact;
using json_test::Parse;
using test_rules::Rule;
using test_rules::Verdict;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const char kRuleText[] = R"({"enabled": false, "name": "Block spam", "description": "first rule",
  "traffic": ["incoming", "internal"],
  "scanSettings": {"aggressivity": 3, "checkAuthenticated": true},
  "onDetection": {"mainAction": {"action": "redirectEmail", "address": "quarantine@example.com"},
                  "stopProcessing": true},
  "servers": [{"address": "rbl.example.com", "confidence": 80},
              {"address": "dnsbl.example.org", "confidence": 20}],
  "dnsAddress": "10.0.0.53", "skipSystemServers": true})";

template <class T>
bool Load(const Json::Value& doc, T& out) {
  return JsonSerializer<T>::Load(JsonNodeRef(&doc), out);
}

// With logging bound to the recording log.dll beside the test program.
class JsonSerializerTest : public ::testing::Test {
 protected:
  // The keys of the "Failed to load subnode" lines written so far, in order.
  std::vector<std::string> LoggedKeys() {
    const std::wstring prefix = L"Failed to load subnode ";
    std::vector<std::string> keys;
    for (const RecordedLine& line : probe_.DrainLines()) {
      EXPECT_EQ(line.level, logging::kLevelSubnodeFailure);
      EXPECT_EQ(line.depth_change, logging::kDepthSame);
      EXPECT_EQ(line.function, L"JsonComposedSerializer::Load");
      EXPECT_EQ(line.message.compare(0, prefix.size(), prefix), 0) << line.message.c_str();
      keys.push_back(kel::Utf8FromWide(line.message.substr(prefix.size())));
    }
    return keys;
  }

  logging::LogHandle log_;
  SinkProbe probe_;  // after log_: it refers to the library that log_ bound
};

// Each failure names the failing key first, then every enclosing key. Missing
// keys, elements, flag sets and cross-field rules are logged in the agents'
// scripts (antispam.jsonl, domaincheck.jsonl) and the transport rule tables;
// here a structure of the wrong type and a key path.
TEST_F(JsonSerializerTest, AFailureIsLoggedAtItsOwnLevelThenAtEveryEnclosingOne) {
  struct Case {
    const char* label;
    void (*spoil)(Json::Value& rule);
    std::vector<std::string> keys;
  };
  const Case cases[] = {
      {"scan settings as an array",
       [](Json::Value& r) { r["scanSettings"] = Json::Value(Json::arrayValue); },
       {"scanSettings"}},
      {"unknown action",
       [](Json::Value& r) { r["onDetection"]["mainAction"]["action"] = "drop"; },
       {"action", "onDetection/mainAction"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    Json::Value doc = Parse(kRuleText);
    c.spoil(doc);
    Rule rule;
    EXPECT_FALSE(Load(doc, rule));
    EXPECT_EQ(LoggedKeys(), c.keys);
  }

  // What loaded before the failing key stays; nothing after it is reached.
  Json::Value doc = Parse(kRuleText);
  doc["onDetection"]["mainAction"]["action"] = "drop";
  Rule rule;
  EXPECT_FALSE(Load(doc, rule));
  EXPECT_EQ(rule.scanSettings.aggressivity, 3u);
  EXPECT_TRUE(rule.servers.IsEmpty());
  LoggedKeys();
}

TEST_F(JsonSerializerTest, ABestEffortKeyIsIgnoredSilentlyWhenItDoesNotLoad) {
  Json::Value doc = Parse(kRuleText);
  doc["onDetection"]["stopProcessing"] = "yes";
  Rule rule;
  rule.stopProcessing = 1;
  ASSERT_TRUE(Load(doc, rule));
  EXPECT_EQ(rule.stopProcessing, 1);  // untouched, not reset by the failed attempt
  doc["onDetection"]["stopProcessing"] = false;
  ASSERT_TRUE(Load(doc, rule));
  EXPECT_EQ(rule.stopProcessing, 0);
  EXPECT_THAT(LoggedKeys(), IsEmpty());
}

TEST_F(JsonSerializerTest, ComposedLoadLogsTheSubnodeButNotAnAbsentContext) {
  const Json::Value doc = Parse(R"({"settings": {"aggressivity": -1}, "bad": {}})");
  test_rules::ScanSettings settings;
  // An absent or non-object input fails without a line.
  EXPECT_FALSE(JsonComposedSerializer::Load(JsonNodeRef(), "settings", settings));
  Rule rule;
  EXPECT_FALSE(JsonSerializer<Rule>::Load(JsonNodeRef(), rule));
  for (const char* text : {"null", "[]", "\"rule\""}) EXPECT_FALSE(Load(Parse(text), rule)) << text;
  EXPECT_THAT(LoggedKeys(), IsEmpty());
  uint32_t aggressivity = 0;
  ASSERT_TRUE(
      JsonComposedSerializer::Load(JsonNodeRef(&doc), "settings/aggressivity", aggressivity));
  EXPECT_EQ(aggressivity, 0xFFFFFFFFu);
  EXPECT_FALSE(JsonComposedSerializer::Load(JsonNodeRef(&doc), "bad", settings));
  EXPECT_FALSE(JsonComposedSerializer::Load(JsonNodeRef(&doc), "missing", settings));
  Verdict verdict = Verdict::kReject;
  EXPECT_FALSE(
      JsonComposedSerializer::Load(JsonNodeRef(&doc), "bad", verdict, test_rules::kVerdictNames));
  EXPECT_THAT(LoggedKeys(), ElementsAre("aggressivity", "bad", "missing", "bad"));
}

TEST(JsonSerializerWithoutLoggingTest, FailuresWriteNothingAndBindNothing) {
  ASSERT_FALSE(logging::IsActive());
  ASSERT_EQ(::GetModuleHandleW(L"log.dll"), nullptr);
  Json::Value doc = Parse(kRuleText);
  doc["scanSettings"]["aggressivity"] = "high";
  Rule rule;
  EXPECT_FALSE(Load(doc, rule));
  EXPECT_EQ(::GetModuleHandleW(L"log.dll"), nullptr);
}

// A codec that fails the way a broken library would: by throwing.
struct ThrowingCodec : EnterpriseIntegration::JsonCodec {
  bool Load(const JsonNodeRef& at, uint32_t&) const {
    if (at.IsAbsent()) return false;
    // Member access on a non-object: jsoncpp throws Json::LogicError.
    return (*at.node())["x"].isNull();
  }
  bool Save(const uint32_t&, Json::Value&) const { throw std::bad_alloc(); }
};

struct Fragile {
  uint32_t value = 0;
  uint32_t after = 0;
};

}  // namespace

namespace EnterpriseIntegration {
template <>
struct JsonSchema<Fragile> : JsonSchemaBase<Fragile> {
  static constexpr auto kFields = Fields(Required("value", &Fragile::value, ThrowingCodec()),
                                         Required("after", &Fragile::after));
};
}  // namespace EnterpriseIntegration

namespace {

TEST_F(JsonSerializerTest, NoExceptionLeavesALoadOrASave) {
  Fragile fragile;
  const Json::Value doc = Parse(R"({"value": [1], "after": 2})");
  bool loaded = true;
  EXPECT_NO_THROW(loaded = Load(doc, fragile));
  EXPECT_FALSE(loaded);
  EXPECT_THAT(LoggedKeys(), ElementsAre("value"));
  EXPECT_EQ(fragile.after, 0u);

  Json::Value out = "kept";
  bool saved = true;
  EXPECT_NO_THROW(saved = JsonSerializer<Fragile>::Save(out, fragile));
  EXPECT_FALSE(saved);
  EXPECT_EQ(out.asString(), "kept");
}

TEST(JsonSizeTest, AHundredThousandElementsAndAMegabyteStringRoundTrip) {
  Json::Value doc = Parse(kRuleText);
  Json::Value& servers = doc["servers"];
  servers = Json::Value(Json::arrayValue);
  for (uint32_t i = 0; i < 100000; ++i) {
    Json::Value& server = servers.append(Json::Value(Json::objectValue));
    server["address"] = "rbl" + std::to_string(i) + ".example.com";
    server["confidence"] = i;
  }
  doc["description"] = std::string(1 << 20, 'd');
  Rule rule;
  ASSERT_TRUE(Load(doc, rule));
  ASSERT_EQ(rule.servers.Count(), 100000u);
  EXPECT_EQ(rule.header.description.Length(), 1u << 20);
  // Saving replaces what the target held.
  Json::Value saved = Parse(R"({"stale": 1})");
  ASSERT_TRUE(JsonSerializer<Rule>::Save(saved, rule));
  EXPECT_EQ(Compact(saved), Compact(doc));

  // One bad element at the very end still fails the whole list.
  doc["servers"][99999]["confidence"] = -1.5;
  EXPECT_FALSE(Load(doc, rule));
}

}  // namespace
