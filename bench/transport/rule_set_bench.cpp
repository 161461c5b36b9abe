// The benchmark program's main: runs every registered filter's copy, load and
// save, then prints load and save as multiples of the copy.
#include "bench/transport/rule_set_bench.h"

#include <cstdio>
#include <map>
#include <vector>

namespace bench_transport {
namespace {

struct Filter {
  std::string name;
  double goal;
};

std::vector<Filter>& Filters() {
  static std::vector<Filter> filters;
  return filters;
}

// Passes everything to the console and keeps each run's CPU time per iteration:
// the machine may be shared, and waiting for it is not the code's cost.
class RatioReporter final : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.error_occurred || run.iterations == 0) continue;
      times_[run.benchmark_name()] = run.GetAdjustedCPUTime();
    }
  }

  // 0 when the run is missing (filtered out or failed).
  double Time(const std::string& name) const {
    const auto found = times_.find(name);
    return found == times_.end() ? 0 : found->second;
  }

 private:
  std::map<std::string, double> times_;
};

}  // namespace

void RegisterFilter(const std::string& filter, double goal,
                    void (*copy)(benchmark::State&, const Json::Value&),
                    void (*load)(benchmark::State&, const Json::Value&),
                    void (*save)(benchmark::State&, const Json::Value&),
                    std::shared_ptr<const Json::Value> document) {
  Filters().push_back({filter, goal});
  const std::pair<const char*, void (*)(benchmark::State&, const Json::Value&)> steps[] = {
      {"copy", copy}, {"load", load}, {"save", save}};
  for (const auto& step : steps) {
    const auto run = step.second;
    const auto body = [run, document](benchmark::State& state) {
      run(state, *document);
      state.SetItemsProcessed(state.iterations() * kRules);
    };
    benchmark::RegisterBenchmark((filter + "/" + step.first).c_str(), body)
        ->Unit(benchmark::kMicrosecond);
  }
}

}  // namespace bench_transport

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  bench_transport::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();

  int missed = 0;
  std::printf("\n%d rules; load and save as multiples of a jsoncpp copy of the same document\n",
              bench_transport::kRules);
  for (const bench_transport::Filter& filter : bench_transport::Filters()) {
    const double copy = reporter.Time(filter.name + "/copy");
    if (copy <= 0) continue;
    for (const char* step : {"load", "save"}) {
      const double time = reporter.Time(filter.name + "/" + step);
      if (time <= 0) continue;
      const double ratio = time / copy;
      const bool met = ratio <= filter.goal;
      missed += met ? 0 : 1;
      std::printf("  %-12s %s  %5.2fx copy  (goal %.1fx%s)\n", filter.name.c_str(), step, ratio,
                  filter.goal, met ? "" : ", MISSED");
    }
  }
  return missed == 0 ? 0 : 2;
}
