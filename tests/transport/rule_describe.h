#pragma once
// Test helpers for the filter rule sets: a plain-text description of every
// field of a record, written field by field without the schemas (so that a
// field a schema forgets shows up as a difference), the failure log, and the
// building blocks of a seeded generator of valid rule parts.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <json/value.h>

#include "agent/json/json_serializer.h"
#include "frame/list.h"
#include "frame/logging/log.h"
#include "frame/string.h"
#include "frame/text_convert.h"
#include "sdk/mailservers/rule_common.h"
#include "tests/agent/json_test_util.h"
#include "tests/support/log_sink_probe.h"

namespace rule_test {

inline std::string Text(const kel::StringW& text) {
  return "\"" + kel::Utf8FromWide(text.c_str(), text.Length()) + "\"";
}

inline std::string Text(const kel::List<kel::StringW>& list) {
  std::string out = "[";
  for (const kel::StringW& item : list) out += Text(item) + ",";
  return out + "]";
}

inline std::string Text(const kel::nusdk::MailServers::Condition& c) {
  std::ostringstream out;
  out << "{consider " << c.consider << " users " << Text(c.users) << " groups " << Text(c.groups)
      << " wildcards " << Text(c.wildcards) << " domains " << Text(c.domains) << "}";
  return out.str();
}

inline std::string Text(const kel::nusdk::MailServers::RuleHeader& h) {
  std::ostringstream out;
  out << "enabled " << int{h.enabled} << " name " << Text(h.name) << " description "
      << Text(h.description) << " detectionWithoutScan " << int{h.detectionWithoutScan}
      << " traffic " << h.scope.traffic << " sentBy " << Text(h.scope.sentBy) << " sentTo "
      << Text(h.scope.sentTo) << " stopProcessing " << int{h.stopProcessing};
  return out.str();
}

inline std::string Text(const kel::nusdk::MailServers::MainAction& a) {
  return "{action " + std::to_string(a.action) + " data " + Text(a.data) + "}";
}

inline std::string Text(const kel::nusdk::MailServers::NotifyData& n) {
  return "{sender " + std::to_string(n.sender) + " receivers " + std::to_string(n.receivers) + "}";
}

// Loads `doc` as T through its serializer.
template <class T>
bool Load(const Json::Value& doc, T& out) {
  return EnterpriseIntegration::JsonSerializer<T>::Load(EnterpriseIntegration::JsonNodeRef(&doc),
                                                        out);
}

template <class T>
Json::Value Save(const T& value) {
  Json::Value doc;
  EXPECT_TRUE(EnterpriseIntegration::JsonSerializer<T>::Save(doc, value));
  return doc;
}

// Logging bound to the recording log.dll beside the test program.
class LoggedTest : public ::testing::Test {
 protected:
  // The keys of the "Failed to load subnode" lines written since the last
  // call, innermost first; any other line fails the test.
  std::vector<std::string> FailedKeys() {
    const std::wstring prefix = L"Failed to load subnode ";
    std::vector<std::string> keys;
    for (const RecordedLine& line : probe_.DrainLines()) {
      if (line.level == logging::kLevelTrace) continue;  // trace scopes
      EXPECT_EQ(line.level, logging::kLevelSubnodeFailure) << kel::Utf8FromWide(line.message);
      EXPECT_EQ(line.function, L"JsonComposedSerializer::Load");
      if (line.message.compare(0, prefix.size(), prefix) != 0) {
        ADD_FAILURE() << "unexpected line " << kel::Utf8FromWide(line.message);
        continue;
      }
      keys.push_back(kel::Utf8FromWide(line.message.substr(prefix.size())));
    }
    return keys;
  }

  // Every line but the traces, as "level function: message".
  std::vector<std::string> Lines() {
    std::vector<std::string> lines;
    for (const RecordedLine& line : probe_.DrainLines()) {
      if (line.level == logging::kLevelTrace) continue;
      lines.push_back(std::to_string(line.level) + " " + kel::Utf8FromWide(line.function) + ": " +
                      kel::Utf8FromWide(line.message));
    }
    return lines;
  }

  void SetUp() override { probe_.DrainLines(); }

  logging::LogHandle log_;
  SinkProbe probe_;  // after log_: it refers to the library that log_ bound
};

// Tests of one filter's rule set that start from a hand-written document.
template <class RuleSet, const char* kText>
class RuleSetTest : public LoggedTest {
 protected:
  // The hand-written rule set with `edit` applied to its first rule.
  template <class Edit>
  static Json::Value Edited(Edit edit) {
    Json::Value doc = json_test::Parse(kText);
    edit(doc["rules"][0]);
    return doc;
  }

  // Loads `doc`, expecting a failure logged with `keys` (innermost first).
  void ExpectRefused(const Json::Value& doc, const std::vector<std::string>& keys) {
    RuleSet set;
    EXPECT_FALSE(Load(doc, set)) << json_test::Compact(doc);
    EXPECT_EQ(FailedKeys(), keys) << json_test::Compact(doc);
  }
};

// Seeded random parts of valid rules: whatever it makes saves and loads back.
class Generator {
 public:
  explicit Generator(uint32_t seed) : random_(seed) {}

  uint32_t Below(uint32_t n) { return std::uniform_int_distribution<uint32_t>(0, n - 1)(random_); }
  bool Coin() { return Below(2) == 1; }
  uint8_t Flag() { return Coin() ? 1 : 0; }
  uint32_t Any32() { return std::uniform_int_distribution<uint32_t>()(random_); }

  // Text of every kind a JSON string carries: empty, ASCII, quotes and
  // escapes, accents, CJK, a character beyond the 16-bit plane.
  kel::StringW String() {
    static const wchar_t* const kPieces[] = {L"a",  L"Z",  L"7",          L" ",      L"\"",
                                             L"\\", L"/",  L"\t",         L"\u00e9", L"\u65e5",
                                             L"@",  L"\n", L"\U0001F600", L"x.y"};
    kel::StringW text;
    const uint32_t length = Below(8);
    for (uint32_t i = 0; i < length; ++i)
      text += kPieces[Below(sizeof(kPieces) / sizeof(*kPieces))];
    return text;
  }

  kel::List<kel::StringW> Strings() {
    kel::List<kel::StringW> list;
    const uint32_t count = Below(4);
    for (uint32_t i = 0; i < count; ++i) list.EmplaceBack(String());
    return list;
  }

  // A condition is either absent (consider 0, nothing else) or complete.
  kel::nusdk::MailServers::Condition Condition() {
    kel::nusdk::MailServers::Condition c;
    c.consider = Below(4);
    if (c.consider == 0) return c;
    c.users = Strings();
    c.groups = Strings();
    c.wildcards = Strings();
    c.domains = Strings();
    return c;
  }

  void Header(kel::nusdk::MailServers::RuleHeader& h) {
    h.enabled = Flag();
    h.name = String();
    h.description = String();
    h.detectionWithoutScan = Flag();
    h.scope.traffic = 1 + Below(7);  // at least one direction
    h.scope.sentBy = Condition();
    h.scope.sentTo = Condition();
    h.stopProcessing = Flag();
  }

  // The common main action; only a redirect has a target.
  kel::nusdk::MailServers::MainAction MainAction() {
    kel::nusdk::MailServers::MainAction a;
    a.action = Below(4);
    if (a.action == 1) a.data = String();
    return a;
  }

 private:
  std::mt19937 random_;
};

// A chain of `depth` single-element arrays around `innermost`, built without
// recursion; give it back through json_test::Dismantle.
inline Json::Value DeepArray(size_t depth, Json::Value innermost = Json::Value(1)) {
  Json::Value value = std::move(innermost);
  for (size_t i = 0; i < depth; ++i) {
    Json::Value outer(Json::arrayValue);
    outer.append(Json::Value());
    outer[0].swap(value);
    value.swap(outer);
  }
  return value;
}

}  // namespace rule_test
