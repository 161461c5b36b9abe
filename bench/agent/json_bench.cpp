// The schema-driven serializers against the same work written by hand on
// jsoncpp: a set of 1,000 rule-like records saved to a tree and loaded back.
// The hand-written side checks types as strictly and converts text with the
// same routines, so each pair reads as the framework's overhead.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include <json/value.h>

#include "agent/json/json_serializer.h"
#include "frame/text_convert.h"

namespace bench_rules {

struct Record {
  uint8_t enabled = 1;
  kel::StringW name;
  kel::StringW description;
  uint32_t traffic = 7;
  uint32_t aggressivity = 0;
  uint8_t checkAuthenticated = 0;
  uint32_t action = 0;
  uint8_t stopProcessing = 0;
  kel::List<kel::StringW> whiteList;
};

struct RecordSet {
  uint8_t enabled = 1;
  kel::List<Record> rules;
};

constexpr auto kActionNames = EnterpriseIntegration::EnumNames({
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

}  // namespace bench_rules

namespace EnterpriseIntegration {

// clang-format off
template <>
struct JsonSchema<bench_rules::Record> : JsonSchemaBase<bench_rules::Record> {
  using S = bench_rules::Record;
  static constexpr auto kFields = Fields(
      Optional(  "enabled",                     &S::enabled),
      Required(  "name",                        &S::name),
      Optional(  "description",                 &S::description),
      Optional(  "traffic",                     &S::traffic,       bench_rules::kTrafficNames),
      Required(  "aggressivity",                &S::aggressivity),
      Required(  "checkAuthenticated",          &S::checkAuthenticated),
      Required(  "action",                      &S::action,        bench_rules::kActionNames),
      BestEffort("onDetection/stopProcessing",  &S::stopProcessing),
      Required(  "whiteList",                   &S::whiteList));
};

template <>
struct JsonSchema<bench_rules::RecordSet> : JsonSchemaBase<bench_rules::RecordSet> {
  using S = bench_rules::RecordSet;
  static constexpr auto kFields = Fields(
      Required("enabled",  &S::enabled),
      Required("rules",    &S::rules));
};
// clang-format on

}  // namespace EnterpriseIntegration

namespace {

using bench_rules::Record;
using bench_rules::RecordSet;

RecordSet MakeRecords(int count) {
  RecordSet set;
  for (int i = 0; i < count; ++i) {
    Record& record = set.rules.EmplaceBack();
    const std::wstring n = std::to_wstring(i);
    record.name = (L"Rule number " + n).c_str();
    record.description = (L"Blocks what rule " + n + L" was written for, caf\u00E9").c_str();
    record.traffic = 1 + static_cast<uint32_t>(i % 7);
    record.aggressivity = static_cast<uint32_t>(i % 5);
    record.checkAuthenticated = static_cast<uint8_t>(i % 2);
    record.action = static_cast<uint32_t>(i % 4);
    record.stopProcessing = static_cast<uint8_t>(i % 3 == 0);
    for (int j = 0; j < 3; ++j) {
      record.whiteList.EmplaceBack((L"sender" + std::to_wstring(j) + L"@example.com").c_str());
    }
  }
  return set;
}

// ---- by hand ------------------------------------------------------------

const char* const kActions[] = {"rejectOrDeleteEmail", "redirectEmail", "quarantineEmail",
                                "deliverEmail"};
const char* const kTraffic[] = {"incoming", "outgoing", "internal"};

Json::Value Utf8Value(const kel::StringW& text) {
  return Json::Value(kel::Utf8FromWide(text.c_str(), text.Length()));
}

Json::Value SaveByHand(const RecordSet& set) {
  Json::Value doc(Json::objectValue);
  doc["enabled"] = set.enabled != 0;
  Json::Value& rules = doc["rules"];
  rules = Json::Value(Json::arrayValue);
  for (const Record& record : set.rules) {
    Json::Value rule(Json::objectValue);
    rule["enabled"] = record.enabled != 0;
    rule["name"] = Utf8Value(record.name);
    rule["description"] = Utf8Value(record.description);
    Json::Value traffic(Json::arrayValue);
    for (uint32_t bit = 0; bit < 3; ++bit) {
      if ((record.traffic & (1u << bit)) != 0) traffic.append(kTraffic[bit]);
    }
    rule["traffic"] = std::move(traffic);
    rule["aggressivity"] = record.aggressivity;
    rule["checkAuthenticated"] = record.checkAuthenticated != 0;
    if (record.action < 4) rule["action"] = kActions[record.action];
    rule["onDetection"]["stopProcessing"] = record.stopProcessing != 0;
    Json::Value white(Json::arrayValue);
    for (const kel::StringW& sender : record.whiteList) white.append(Utf8Value(sender));
    rule["whiteList"] = std::move(white);
    rules.append(std::move(rule));
  }
  return doc;
}

const Json::Value* Member(const Json::Value& object, const char* key) {
  return object.isObject() ? object.find(key, key + std::char_traits<char>::length(key)) : nullptr;
}

bool ReadBool(const Json::Value* value, uint8_t& out) {
  out = 0;
  if (value == nullptr) return false;
  if (value->isBool()) {
    out = value->asBool();
  } else if (value->type() == Json::intValue || value->type() == Json::uintValue) {
    out = value->asInt64() != 0;
  } else {
    return false;
  }
  return true;
}

bool ReadUInt(const Json::Value* value, uint32_t& out) {
  out = 0;
  if (value == nullptr || (value->type() != Json::intValue && value->type() != Json::uintValue) ||
      !(value->isInt() || value->isUInt())) {
    return false;
  }
  out = value->isUInt() ? value->asUInt() : static_cast<uint32_t>(value->asInt());
  return true;
}

bool ReadString(const Json::Value* value, kel::StringW& out) {
  const char* begin;
  const char* end;
  if (value == nullptr || !value->isString() || !value->getString(&begin, &end)) return false;
  const size_t length = static_cast<size_t>(end - begin);
  out.SetLength(kel::DecodeUtf8(begin, length, out.GetBuffer(length)));
  return true;
}

bool ReadName(const Json::Value* value, const char* const* names, uint32_t count, uint32_t& out) {
  const char* begin;
  const char* end;
  if (value == nullptr || !value->isString() || !value->getString(&begin, &end)) return false;
  const std::string_view text(begin, static_cast<size_t>(end - begin));
  for (uint32_t i = 0; i < count; ++i) {
    if (text == names[i]) {
      out = i;
      return true;
    }
  }
  return false;
}

bool LoadByHand(const Json::Value& doc, RecordSet& set) {
  if (!ReadBool(Member(doc, "enabled"), set.enabled)) return false;
  const Json::Value* rules = Member(doc, "rules");
  if (rules == nullptr || !rules->isArray()) return false;
  set.rules.RemoveAll();
  for (const Json::Value& rule : *rules) {
    if (!rule.isObject()) return false;
    Record& record = set.rules.EmplaceBack();
    if (const Json::Value* enabled = Member(rule, "enabled")) {
      if (!ReadBool(enabled, record.enabled)) return false;
    }
    if (!ReadString(Member(rule, "name"), record.name)) return false;
    if (const Json::Value* description = Member(rule, "description")) {
      if (!ReadString(description, record.description)) return false;
    }
    if (const Json::Value* traffic = Member(rule, "traffic")) {
      if (!traffic->isArray()) return false;
      uint32_t flags = 0;
      for (const Json::Value& name : *traffic) {
        uint32_t bit;
        if (!ReadName(&name, kTraffic, 3, bit)) return false;
        flags |= 1u << bit;
      }
      if (flags == 0) return false;
      record.traffic = flags;
    }
    if (!ReadUInt(Member(rule, "aggressivity"), record.aggressivity)) return false;
    if (!ReadBool(Member(rule, "checkAuthenticated"), record.checkAuthenticated)) return false;
    if (!ReadName(Member(rule, "action"), kActions, 4, record.action)) return false;
    if (const Json::Value* onDetection = Member(rule, "onDetection")) {
      uint8_t stop;
      if (ReadBool(Member(*onDetection, "stopProcessing"), stop)) record.stopProcessing = stop;
    }
    const Json::Value* white = Member(rule, "whiteList");
    if (white == nullptr || !white->isArray()) return false;
    for (const Json::Value& sender : *white) {
      if (!ReadString(&sender, record.whiteList.EmplaceBack())) return false;
    }
  }
  return true;
}

// ---- the pairs ----------------------------------------------------------

constexpr int kRecords = 1000;

void BM_Save_Schema(benchmark::State& state) {
  const RecordSet set = MakeRecords(kRecords);
  for (auto _ : state) {
    Json::Value doc;
    EnterpriseIntegration::JsonSerializer<RecordSet>::Save(doc, set);
    benchmark::DoNotOptimize(doc);
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}
void BM_Save_ByHand(benchmark::State& state) {
  const RecordSet set = MakeRecords(kRecords);
  for (auto _ : state) {
    Json::Value doc = SaveByHand(set);
    benchmark::DoNotOptimize(doc);
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}
BENCHMARK(BM_Save_Schema)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Save_ByHand)->Unit(benchmark::kMicrosecond);

void BM_Load_Schema(benchmark::State& state) {
  const Json::Value doc = SaveByHand(MakeRecords(kRecords));
  for (auto _ : state) {
    RecordSet set;
    const bool loaded = EnterpriseIntegration::JsonSerializer<RecordSet>::Load(
        EnterpriseIntegration::JsonNodeRef(&doc), set);
    if (!loaded) state.SkipWithError("the schema did not load its own document");
    benchmark::DoNotOptimize(set);
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}
void BM_Load_ByHand(benchmark::State& state) {
  const Json::Value doc = SaveByHand(MakeRecords(kRecords));
  for (auto _ : state) {
    RecordSet set;
    if (!LoadByHand(doc, set)) state.SkipWithError("the hand-written reader failed");
    benchmark::DoNotOptimize(set);
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}
BENCHMARK(BM_Load_Schema)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Load_ByHand)->Unit(benchmark::kMicrosecond);

}  // namespace
