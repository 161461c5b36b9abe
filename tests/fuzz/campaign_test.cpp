// The campaign itself. Its figures go to standard output: calls per method,
// by result code, and the seed that replays the run.
#include "tests/fuzz/campaign.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "frame/text_convert.h"
#include "frame/win.h"

namespace kelfuzz {
namespace {

// Fixed for `make test`, so that a failure there is a failure every time.
constexpr uint64_t kDefaultSeed = 20261124;
constexpr size_t kDefaultCalls = 1000;

std::string Env(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

std::wstring ModuleBesideProgram() {
  std::vector<wchar_t> path(32768);
  const DWORD length = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  const std::wstring self(path.data(), length);
  return self.substr(0, self.find_last_of(L"\\/") + 1) + L"kelagents.dll";
}

CampaignOptions OptionsFromEnvironment() {
  CampaignOptions options;
  const std::string seed = Env("KEL_FUZZ_SEED");
  options.seed = seed.empty()    ? kDefaultSeed
                 : seed == "time" ? static_cast<uint64_t>(
                                        std::chrono::system_clock::now().time_since_epoch().count())
                                  : std::strtoull(seed.c_str(), nullptr, 10);
  const std::string calls = Env("KEL_FUZZ_CALLS");
  options.callsPerMethod = calls.empty() ? kDefaultCalls : std::strtoull(calls.c_str(), nullptr, 10);
  options.only = Env("KEL_FUZZ_ONLY");
  options.verbose = !Env("KEL_FUZZ_VERBOSE").empty();
  options.sourceDir = KEL_SOURCE_DIR;
  options.module = ModuleBesideProgram();
  return options;
}

TEST(BadInputCampaign, EveryMethodOfEveryAgentRefusesBadInputAndKeepsItsState) {
  // ctest runs the campaign in one entry per agent class, not here too.
  if (!Env("KEL_FUZZ_SKIP_CAMPAIGN").empty()) GTEST_SKIP();
  const CampaignOptions options = OptionsFromEnvironment();
  // Saving quarantine items writes files wherever a mutated path points;
  // relative ones land in a scratch folder beside the program, not in
  // whatever folder the run started from.
  const std::wstring module = options.module;
  const std::wstring scratch = module.substr(0, module.find_last_of(L"\\/") + 1) + L"fuzz-scratch";
  ::CreateDirectoryW(scratch.c_str(), nullptr);
  ASSERT_TRUE(::SetCurrentDirectoryW(scratch.c_str()));
  std::printf("kelfuzz seed %llu (replay with KEL_FUZZ_SEED=%llu), %zu calls per method\n",
              static_cast<unsigned long long>(options.seed),
              static_cast<unsigned long long>(options.seed), options.callsPerMethod);
  std::fflush(stdout);
  const auto started = std::chrono::steady_clock::now();
  const CampaignOutcome outcome = RunCampaign(options);
  const auto seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();

  size_t calls = 0;
  for (const MethodFigures& m : outcome.methods) {
    std::string results;
    for (const auto& [code, count] : m.results) {
      results += " " + std::to_string(code) + "x" + std::to_string(count);
    }
    std::printf("  %-32s %-46s %6zu calls %6.1f s, results%s\n", m.agentClass.c_str(),
                m.method.c_str(), m.calls, m.seconds, results.c_str());
    calls += m.calls;
    EXPECT_EQ(m.calls, options.callsPerMethod) << m.agentClass << " " << m.method;
  }
  std::printf("kelfuzz: %zu methods, %zu calls, %zu faults, %.1f s, seed %llu\n",
              outcome.methods.size(), calls, outcome.failures.size(), seconds,
              static_cast<unsigned long long>(options.seed));
  for (const std::string& problem : outcome.problems) ADD_FAILURE() << problem;
  for (const std::string& failure : outcome.failures) ADD_FAILURE() << failure;
  // Every agent that serves methods, every method its scripts call; a
  // narrowed run must still have found something to call.
  EXPECT_GE(outcome.methods.size(), options.only.empty() ? 70u : 1u);
}

}  // namespace
}  // namespace kelfuzz
