#pragma once
// Test helpers for the filter rule sets: the failure log, a fixture for tests
// that start from a hand-written document, a plain-text description of
// records written member by member without the schemas (so that a member a
// schema forgets or mixes up shows as a difference).
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <type_traits>
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

using kel::nusdk::MailServers::Condition;
using kel::nusdk::MailServers::MainAction;
using kel::nusdk::MailServers::NotifyData;
using kel::nusdk::MailServers::RuleHeader;

// A description under construction. Every Put takes it first, so that the
// overloads for each filter's records, declared later in this namespace, are
// found from inside the templates below.
struct Out {
  std::string text;
};

template <class T>
std::enable_if_t<std::is_arithmetic_v<T> || std::is_enum_v<T>> Put(Out& o, T value) {
  o.text += std::to_string(static_cast<long long>(value));
}
inline void Put(Out& o, const kel::StringW& s) {
  o.text += "\"" + kel::Utf8FromWide(s.c_str(), s.Length()) + "\"";
}
template <class T>
void Put(Out& o, const kel::List<T>& list) {
  o.text += "[";
  for (const T& item : list) {
    Put(o, item);
    o.text += ",";
  }
  o.text += "]";
}
// The members of one record, in braces.
template <class... T>
void Group(Out& o, const T&... members) {
  o.text += "{";
  ((Put(o, members), o.text += " "), ...);
  o.text.back() = '}';
}
inline void Put(Out& o, const Condition& c) {
  Group(o, c.consider, c.users, c.groups, c.wildcards, c.domains);
}
inline void Put(Out& o, const RuleHeader& h) {
  Group(o, h.enabled, h.name, h.description, h.detectionWithoutScan, h.scope.traffic,
        h.scope.sentBy, h.scope.sentTo, h.stopProcessing);
}
inline void Put(Out& o, const MainAction& a) { Group(o, a.action, a.data); }
inline void Put(Out& o, const NotifyData& n) { Group(o, n.sender, n.receivers); }

template <class T>
std::string Describe(const T& value) {
  Out o;
  Put(o, value);
  return o.text;
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
    std::vector<std::string> keys;
    for (const std::string& line : Lines()) {
      static const std::string head = "16 JsonComposedSerializer::Load: Failed to load subnode ";
      if (line.compare(0, head.size(), head) != 0) {
        ADD_FAILURE() << "unexpected line " << line;
        continue;
      }
      keys.push_back(line.substr(head.size()));
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

// One row of a table about one member of a rule: its JSON text, and either
// what loads (described) or, when that is null, the keys of the refusal
// inside the member.
struct Row {
  const char* json;
  const char* loaded;
  std::vector<std::string> failed;
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

  // The first rule with the member at `path` ("a/b") set to `value` (JSON
  // text), or removed when `value` is null.
  static Json::Value With(const std::string& path, const char* value) {
    return Edited([&](Json::Value& rule) {
      Json::Value* node = &rule;
      size_t at = 0;
      for (size_t slash = 0; (slash = path.find('/', at)) != std::string::npos; at = slash + 1) {
        node = &(*node)[path.substr(at, slash - at)];
      }
      if (value) {
        (*node)[path.substr(at)] = json_test::Parse(value);
      } else {
        node->removeMember(path.substr(at));
      }
    });
  }

  // Loads `doc`, expecting a failure logged with `inner`, then `enclosing`
  // and the rule's own keys.
  void ExpectRefused(const Json::Value& doc, std::vector<std::string> inner,
                     const std::vector<std::string>& enclosing = {}) {
    inner.insert(inner.end(), enclosing.begin(), enclosing.end());
    inner.insert(inner.end(), {"rules[0]", "rules"});
    RuleSet set;
    EXPECT_FALSE(Load(doc, set)) << json_test::Compact(doc);
    EXPECT_EQ(FailedKeys(), inner) << json_test::Compact(doc);
  }

  // Loads `doc`, which must load; the first rule.
  typename RuleSet::Rule Loaded(const Json::Value& doc) {
    RuleSet set;
    EXPECT_TRUE(Load(doc, set)) << json_test::Compact(doc);
    EXPECT_EQ(FailedKeys(), std::vector<std::string>()) << json_test::Compact(doc);
    return set.rules.IsEmpty() ? typename RuleSet::Rule() : *set.rules.FirstConst();
  }

  // `row` put at `path`: `pick` of the loaded rule described, or the refusal
  // logged inside `enclosing`.
  template <class Pick>
  void Check(const std::string& path, const Row& row, const std::vector<std::string>& enclosing,
             Pick pick) {
    const Json::Value doc = With(path, row.json);
    if (row.loaded) {
      EXPECT_EQ(Describe(pick(Loaded(doc))), row.loaded) << row.json;
    } else {
      ExpectRefused(doc, row.failed, enclosing);
    }
  }
};

}  // namespace rule_test
