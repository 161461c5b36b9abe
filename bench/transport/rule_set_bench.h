#pragma once
// The transport rule sets against jsoncpp: for each filter, loading and saving
// a rule set of kRules rules is timed beside copying the same document with
// jsoncpp alone, and the program ends with each ratio. A filter joins with one
// file that defines its document and registers it:
//
//   const bool kRegistered = bench_transport::RegisterRuleSet<Content::RuleSet>(
//       "content", &MakeContentRuleSet);
//
// and one line in bench/transport.cmake.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include <json/value.h>

#include "agent/json/json_serializer.h"

namespace bench_transport {

inline constexpr int kRules = 1000;

// Registers "<filter>/copy", "<filter>/load" and "<filter>/save", each run over
// `document`; `goal` is the largest acceptable ratio of load or save to copy.
void RegisterFilter(const std::string& filter, double goal,
                    void (*copy)(benchmark::State&, const Json::Value&),
                    void (*load)(benchmark::State&, const Json::Value&),
                    void (*save)(benchmark::State&, const Json::Value&),
                    std::shared_ptr<const Json::Value> document);

inline void CopyDocument(benchmark::State& state, const Json::Value& document) {
  for (auto _ : state) {
    Json::Value copy(document);
    benchmark::DoNotOptimize(copy);
  }
}

template <class RuleSet>
void LoadRuleSet(benchmark::State& state, const Json::Value& document) {
  for (auto _ : state) {
    RuleSet rules;
    if (!EnterpriseIntegration::JsonSerializer<RuleSet>::Load(
            EnterpriseIntegration::JsonNodeRef(&document), rules)) {
      state.SkipWithError("the rule set did not load its own document");
      break;
    }
    benchmark::DoNotOptimize(rules);
  }
}

template <class RuleSet>
void SaveRuleSet(benchmark::State& state, const Json::Value& document) {
  RuleSet rules;
  if (!EnterpriseIntegration::JsonSerializer<RuleSet>::Load(
          EnterpriseIntegration::JsonNodeRef(&document), rules)) {
    state.SkipWithError("the rule set did not load its own document");
  }
  for (auto _ : state) {
    Json::Value saved;
    EnterpriseIntegration::JsonSerializer<RuleSet>::Save(saved, rules);
    benchmark::DoNotOptimize(saved);
  }
}

// The document is the saved form of the rule set that `make` builds, so that
// load and save handle the same document the copy does.
template <class RuleSet>
bool RegisterRuleSet(const std::string& filter, RuleSet (*make)(int rules), double goal = 3.0) {
  auto document = std::make_shared<Json::Value>();
  EnterpriseIntegration::JsonSerializer<RuleSet>::Save(*document, make(kRules));
  RegisterFilter(filter, goal, &CopyDocument, &LoadRuleSet<RuleSet>, &SaveRuleSet<RuleSet>,
                 std::move(document));
  return true;
}

}  // namespace bench_transport
