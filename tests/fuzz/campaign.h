#pragma once
// The bad-input campaign: every policy method of every agent, seeded from the
// kelhost scripts' own valid calls, called through the real module with
// inputs the mutator makes. The scripts run as they are, one fresh host each
// around the one loaded module; when a script reaches the call chosen as a
// method's seed, the campaign calls the method there, in that state,
// `callsPerMethod` times.
//
// Every call must return without an exception, with a result the method
// object was given: 0, a code of the module (frame/result_codes.h, with the
// two not-functioning codes) or one the reference plug-ins answer. A call
// that answers anything but 0 must leave the plug-ins as it found them:
// every getter of the agent answers what it answered before, and the
// manager and the recording plug-ins saw nothing new.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kelfuzz {

struct CampaignOptions {
  uint64_t seed = 0;
  size_t callsPerMethod = 1000;
  std::string only;       // run only methods whose "class method" contains this
  bool verbose = false;   // print every call with its result and time
  std::string sourceDir;  // where examples/ and tests/host/ are
  std::wstring module;    // the module DLL, log.dll beside it
};

struct MethodFigures {
  std::string agentClass;
  std::string method;
  std::string seedAt;  // script:line
  size_t calls = 0;
  double seconds = 0;
  std::map<uint32_t, size_t> results;  // by result code
};

struct CampaignOutcome {
  std::vector<MethodFigures> methods;
  std::vector<std::string> failures;  // each one a reproducer text
  std::vector<std::string> problems;  // the campaign itself could not run
};

CampaignOutcome RunCampaign(const CampaignOptions& options);

// The per-method generator seed: the campaign seed and the method's names,
// so that one method replays alone with the same sequence.
uint64_t MethodSeed(uint64_t seed, const std::string& agentClass, const std::string& method);

}  // namespace kelfuzz
