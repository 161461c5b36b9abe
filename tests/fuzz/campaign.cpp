#include "tests/fuzz/campaign.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cwctype>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>
#include <thread>

#include "frame/result_codes.h"
#include "frame/text_convert.h"
#include "host/kelhost/component_manager.h"
#include "host/kelhost/json_io.h"
#include "host/kelhost/manager.h"
#include "host/kelhost/module_host.h"
#include "host/kelhost/plugin_registry.h"
#include "host/kelhost/script_reader.h"
#include "host/kelhost/session.h"
#include "host/plugins/plugins.h"
#include "tests/fuzz/json_mutator.h"

namespace kelfuzz {
namespace {

namespace result = kel::result;

// A call that takes longer than this is taken for a hang: the reproducer is
// printed and the process ends, so the run fails without its summary.
constexpr std::chrono::seconds kHangLimit{30};
// How long a call of a method that waits by design (its seed runs
// asynchronously) may wait before the agent is stopped to end it.
constexpr std::chrono::milliseconds kReleaseAfter{100};
// How many looks in a row must agree before the state of a method whose
// effect goes on after it returns counts as settled.
constexpr int kQuietLooks = 5;

// Answers of the reference plug-ins: bad argument or zone, busy, name taken,
// not supported, not found, something threw, stopping; and the file errors
// the quarantine's save passes on as they are.
const std::set<uint32_t> kPluginCodes = {87, 170, 183, 50, 1168, 1359, 1067,
                                         2,  3,   5,   32, 80,   123,  161, 206, 267};

// The module's own codes, and the two plug-in answers it names.
const std::set<uint32_t> kModuleCodes = {
    result::kInvalidData,     result::kNotReady,         result::kBadArguments,
    result::kAlreadyExists,   result::kServiceStopping,  result::kNotFound,
    result::kWorkerExitedWithOne, result::kInternalError, result::kFunctionFailed,
    result::kInvalidOperation, result::kComponentMissing, result::kInvalidState,
    1229,                     2250};

// Results of a script line that mark its input as one the module refuses:
// such a line is no seed.
const std::set<uint32_t> kRefusals = {result::kInvalidData,      result::kNotReady,
                                      result::kBadArguments,     result::kInvalidOperation,
                                      result::kComponentMissing, result::kInvalidState,
                                      result::kServiceStopping};

// One policy-method call as the manager makes it, on documents the campaign
// owns (and takes apart without recursion afterwards).
class FuzzCall final : public IPolicyMethod {
 public:
  FuzzCall(const Mutant& mutant, Json::Value& input, Json::Value& output)
      : mutant_(mutant), input_(input), output_(output) {}

  void* QueryInterface(const kel::InterfaceId* iid) override {
    return iid != nullptr && *iid == IID_IKelBaseInterface ? static_cast<IPolicyMethod*>(this)
                                                           : nullptr;
  }
  const wchar_t* GetPolicyId() override { return mutant_.nullPolicy ? nullptr : L"kelfuzz.policy"; }
  uint32_t GetResult() override { return result_; }
  const wchar_t* GetMethodName() override { return mutant_.nullName ? nullptr : mutant_.method.c_str(); }
  const Json::Value* GetInput() override { return mutant_.nullInput ? nullptr : &input_; }
  Json::Value* GetOutput() override { return mutant_.nullOutput ? nullptr : &output_; }
  void SetResult(uint32_t code) override {
    result_ = code;
    resultSet_ = true;
  }

  bool ResultSet() const { return resultSet_; }

 private:
  const Mutant& mutant_;
  Json::Value& input_;
  Json::Value& output_;
  uint32_t result_ = 0;
  bool resultSet_ = false;
};

struct Line {
  kelhost::ScriptLine line;
  std::string agentClass;   // a seed line's: the class of the agent it calls
  bool fuzzBefore = false;  // a method's chosen seed: fuzz, then run the line
  bool fuzzAfter = false;   // an asynchronous seed: run the line, then fuzz
};

struct Script {
  std::string name;
  std::vector<Line> lines;
};

struct SeedChoice {
  size_t script = 0;
  size_t line = 0;
  size_t paths = 0;
};

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

std::string StringMember(const Json::Value& object, const char* key) {
  const Json::Value* v = kelhost::FindMember(object, key);
  return v != nullptr && v->isString() ? v->asString() : std::string();
}

// The method's name without the agent's own prefix, ignoring case, as the
// dispatcher finds it: "MailServers.Transport.SetDenyMessage" is
// "setdenymessage" of "MailServers.Transport.Agent".
std::string CanonicalMethod(const std::string& agentClass, const std::string& method) {
  std::string prefix = agentClass;
  const std::string agentSuffix = ".Agent";
  if (prefix.size() > agentSuffix.size() &&
      prefix.compare(prefix.size() - agentSuffix.size(), agentSuffix.size(), agentSuffix) == 0) {
    prefix.resize(prefix.size() - agentSuffix.size());
  }
  prefix = Lower(prefix) + ".";
  std::string name = Lower(method);
  if (name.compare(0, prefix.size(), prefix) == 0) name.erase(0, prefix.size());
  return name;
}

bool IsGetter(const std::string& canonical) {
  const std::string last = canonical.substr(canonical.rfind('.') + 1);
  return last.compare(0, 3, "get") == 0 || last.compare(0, 2, "is") == 0;
}

// A call line whose input the module takes: a named method, all accessors
// present, no stop while it runs, and no refusal expected.
bool IsSeedLine(const Json::Value& command) {
  if (StringMember(command, "op") != "call" || StringMember(command, "method").empty()) return false;
  for (const char* flag : {"nullPolicy", "nullInput", "nullOutput", "nullAccessor", "stopAfterMs"}) {
    if (command.isMember(flag)) return false;
  }
  for (const char* expect : {"expect", "expectHas"}) {
    const Json::Value* e = kelhost::FindMember(command, expect);
    const Json::Value* r = e != nullptr ? kelhost::FindMember(*e, "result") : nullptr;
    if (r != nullptr && r->isUInt() && kRefusals.count(r->asUInt()) != 0) return false;
  }
  return true;
}

std::vector<std::string> ScriptFiles(const std::string& sourceDir) {
  std::vector<std::string> files;
  for (const char* folder : {"examples", "tests/host"}) {
    std::vector<std::string> found;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(sourceDir + "/" + folder, error)) {
      if (entry.path().extension() == ".jsonl") found.push_back(entry.path().string());
    }
    std::sort(found.begin(), found.end());
    files.insert(files.end(), found.begin(), found.end());
  }
  return files;
}

// The scripts that drive the product module, with each method's seed marked:
// of its usable calls, the one with the most key paths, made while no
// plug-in was told to fail.
std::vector<Script> ReadScripts(const CampaignOptions& options, std::vector<std::string>& problems) {
  std::vector<Script> scripts;
  std::map<std::pair<std::string, std::string>, SeedChoice> chosen;
  for (const std::string& file : ScriptFiles(options.sourceDir)) {
    std::ifstream in{std::filesystem::path(file)};
    std::string header;
    std::getline(in, header);
    if (header.rfind("# module:", 0) == 0 && header.find("kelagents") == std::string::npos) continue;
    in.seekg(0);
    Script script;
    script.name = std::filesystem::path(file).filename().string();
    kelhost::ScriptReader reader(in);
    Line line;
    std::map<std::string, std::string> classOf;  // by "as"
    std::set<std::string> failing;               // plug-ins told to fail
    while (reader.Next(line.line)) {
      line.agentClass.clear();
      const Json::Value& command = line.line.command;
      const std::string op = StringMember(command, "op");
      if (op == "create") {
        const std::string as = StringMember(command, "as");
        classOf[as.empty() ? StringMember(command, "class") : as] = StringMember(command, "class");
      } else if (op == "plugin" && command.isMember("fail")) {
        const Json::Value& code = command["fail"];
        if (code.isUInt() && code.asUInt() != 0) {
          failing.insert(StringMember(command, "name"));
        } else {
          failing.erase(StringMember(command, "name"));
        }
      } else if (failing.empty() && IsSeedLine(command)) {
        const std::string& agentClass = line.agentClass = classOf[StringMember(command, "agent")];
        const std::string method = StringMember(command, "method");
        const Json::Value* input = kelhost::FindMember(command, "input");
        const size_t paths = input != nullptr ? PathsOf(*input).size() : 1;
        auto key = std::make_pair(agentClass, CanonicalMethod(agentClass, method));
        auto found = chosen.find(key);
        if (found == chosen.end() || found->second.paths < paths) {
          chosen[key] = SeedChoice{scripts.size(), script.lines.size(), paths};
        }
      }
      script.lines.push_back(line);
    }
    scripts.push_back(std::move(script));
  }
  for (const auto& [key, choice] : chosen) {
    Line& line = scripts[choice.script].lines[choice.line];
    const std::string name = key.first + " " + StringMember(line.line.command, "method");
    if (!options.only.empty() && name.find(options.only) == std::string::npos) continue;
    (line.line.command.isMember("async") ? line.fuzzAfter : line.fuzzBefore) = true;
  }
  if (chosen.empty()) problems.push_back("no seed found under " + options.sourceDir);
  return scripts;
}

// One host as kelhost builds it, around the module the campaign loaded.
struct Host {
  Host(std::vector<std::unique_ptr<kelhost::ReferencePlugin>> made,
       const kelhost::ModuleHost& loaded)
      : referencePlugins(Raw(made)), plugins(std::move(made)), components(manager, plugins),
        module(loaded) {}

  static std::vector<kelhost::ReferencePlugin*> Raw(
      const std::vector<std::unique_ptr<kelhost::ReferencePlugin>>& made) {
    std::vector<kelhost::ReferencePlugin*> raw;
    for (const auto& plugin : made) raw.push_back(plugin.get());
    return raw;
  }

  std::vector<kelhost::ReferencePlugin*> referencePlugins;
  kelhost::PluginRegistry plugins;
  kelhost::Manager manager;
  kelhost::ComponentManager components;
  kelhost::ServMain servMain{&components};
  const kelhost::ModuleHost& module;
  std::unique_ptr<kelhost::Session> session;
};

// Ends the process when a call hangs; the call in progress is described by
// `Arm`.
class Watchdog {
 public:
  Watchdog() : thread_([this] { Watch(); }) {}
  ~Watchdog() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      quit_ = true;
    }
    changed_.notify_all();
    thread_.join();
  }
  void Arm(std::string what) {
    std::lock_guard<std::mutex> lock(mutex_);
    what_ = std::move(what);
    deadline_ = std::chrono::steady_clock::now() + kHangLimit;
    armed_ = true;
    changed_.notify_all();
  }
  void Disarm() {
    std::lock_guard<std::mutex> lock(mutex_);
    armed_ = false;
  }

 private:
  void Watch() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!quit_) {
      if (!armed_) {
        changed_.wait(lock);
      } else if (changed_.wait_until(lock, deadline_) == std::cv_status::timeout && armed_ &&
                 std::chrono::steady_clock::now() >= deadline_) {
        std::fprintf(stderr, "HANG: %s\n", what_.c_str());
        std::fflush(stderr);
        std::_Exit(3);
      }
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::string what_;
  std::chrono::steady_clock::time_point deadline_;
  bool armed_ = false;
  bool quit_ = false;
  std::thread thread_;
};

class Runner {
 public:
  // The module is loaded once, as the service host loads it, and every
  // host is built around it. Loading it anew for each host would also end
  // the run after about a thousand hosts: mingw's static thread runtime
  // takes a TLS slot at each load and never gives it back, and a process
  // has 1,088.
  Runner(const CampaignOptions& options, CampaignOutcome& outcome)
      : options_(options), outcome_(outcome) {
    if (!module_.Load(options.module, loadProblem_) && loadProblem_.empty()) {
      loadProblem_ = "the module does not load";
    }
  }

  // Runs `script` in a fresh host up to the seed at `index`, calls the
  // method there, and gives everything back: each method starts from the
  // state its script built, whatever the methods before it let through.
  void RunSeed(const Script& script, size_t index) {
    const Line& line = script.lines[index];
    const Json::Value& command = line.line.command;
    const std::string& agentClass = line.agentClass;
    const std::string method = StringMember(command, "method");
    const Json::Value* seedInput = kelhost::FindMember(command, "input");
    Mutator mutator(seedInput ? *seedInput : Json::Value(Json::objectValue),
                    kel::WideFromUtf8(method), MethodSeed(options_.seed, agentClass, method));
    MethodFigures figures{agentClass, method, script.name + ":" + std::to_string(line.line.number),
                          0, 0, {}};
    std::printf("  %s %s from %s\n", agentClass.c_str(), method.c_str(), figures.seedAt.c_str());
    std::fflush(stdout);
    const auto started = std::chrono::steady_clock::now();
    if (!loadProblem_.empty()) {
      outcome_.problems.push_back(script.name + ": " + loadProblem_);
      return;
    }
    // A call that let megabytes through is followed by a fresh host, so
    // that the calls after it do not each read them back.
    while (figures.calls < options_.callsPerMethod) {
      Host host(kelhost::MakeReferencePlugins(), module_);
      host.session = std::make_unique<kelhost::Session>(kelhost::HostParts{
          &host.manager, &host.components, &host.servMain, &host.plugins, host.module.create(),
          host.module.destroy(), host.module.drainLines(), host.module.describe()});
      for (size_t i = 0; i < index; ++i) {
        if (script.lines[i].line.readable) host.session->Execute(script.lines[i].line.command);
      }
      if (line.fuzzAfter) host.session->Execute(command);
      const bool fine = Fuzz(host, script, line, mutator, figures);
      host.session->Shutdown();
      Drain(host);
      if (!fine) break;
    }
    figures.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    outcome_.methods.push_back(std::move(figures));
  }

 private:
  struct Probe {
    std::string method;
    Json::Value input;
  };

  // The agent's getters that the script calls, each once.
  static std::vector<Probe> ProbesOf(const Script& script, const std::string& agent) {
    std::vector<Probe> probes;
    std::set<std::string> seen;
    for (const Line& line : script.lines) {
      const Json::Value& command = line.line.command;
      if (!line.line.readable || !IsSeedLine(command) || command.isMember("async") ||
          StringMember(command, "agent") != agent) {
        continue;
      }
      const std::string method = StringMember(command, "method");
      if (!IsGetter(Lower(method)) || !seen.insert(Lower(method)).second) continue;
      const Json::Value* input = kelhost::FindMember(command, "input");
      probes.push_back(Probe{method, input ? *input : Json::Value(Json::objectValue)});
    }
    return probes;
  }

  // What the plug-ins hold, as far as the outside can see: each probe's
  // result and output, what the recording plug-ins recorded, and the
  // manager's change notifications.
  static Json::Value Snapshot(Host& host, EnterpriseIntegration::IAgent& agent,
                              const std::vector<Probe>& probes) {
    Json::Value state(Json::arrayValue);
    for (const Probe& probe : probes) state.append(Answer(agent, probe.method, probe.input));
    // Requests are only ever added to what a plug-in recorded: their count
    // tells whether one came.
    Json::Value recorded(Json::arrayValue);
    for (kelhost::ReferencePlugin* plugin : host.referencePlugins) {
      recorded.append(static_cast<Json::UInt64>(plugin->RecordedCount()));
    }
    state.append(recorded);
    state.append(static_cast<Json::UInt64>(host.manager.ChangeNotifications().size()));
    return state;
  }

  // Whether a getter says work is still under way ({"running": true}): a
  // run the call started on the plug-in's thread, which a starved thread on
  // a busy machine can leave looking still for far longer than a few looks.
  static bool Running(const Json::Value& snapshot, size_t probes) {
    for (Json::ArrayIndex i = 0; i < probes && i < snapshot.size(); ++i) {
      const Json::Value& output = snapshot[i]["output"];
      if (output.isObject() && output.get("running", false) == Json::Value(true)) return true;
    }
    return false;
  }

  // The snapshot once it has looked the same `quiet` times in a row, 20 ms
  // apart, and, with `idle`, no getter says a run is under way (or after five
  // seconds): a call left running asynchronously may still be on its way to
  // the plug-in.
  static Json::Value Settled(Host& host, EnterpriseIntegration::IAgent& agent,
                             const std::vector<Probe>& probes, bool* moved = nullptr,
                             int quiet = 1, bool idle = false) {
    Json::Value last = Snapshot(host, agent, probes);
    for (int i = 0, same = 0;
         i < 250 && (same < quiet || (idle && Running(last, probes.size()))); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      Json::Value next = Snapshot(host, agent, probes);
      if (next == last) {
        ++same;
        continue;
      }
      same = 0;
      if (moved != nullptr) *moved = true;
      last.swap(next);
    }
    return last;
  }

  // {"result", "output"} of one plain call.
  static Json::Value Answer(EnterpriseIntegration::IAgent& agent, const std::string& method,
                            Json::Value input) {
    Mutant m;
    m.method = kel::WideFromUtf8(method);
    Json::Value output;
    FuzzCall call(m, input, output);
    agent.RunPolicyMethod(&call);
    Json::Value answer(Json::objectValue);
    answer["result"] = call.GetResult();
    answer["output"].swap(output);
    return answer;
  }

  // The getter that reads what `setter` sets: "SetX" goes with "GetX" or "IsX".
  static const Probe* GetterOf(const std::string& agentClass, const std::string& setter,
                               const std::vector<Probe>& probes) {
    const std::string name = CanonicalMethod(agentClass, setter);
    const size_t last = name.rfind('.') + 1;
    // These take another shape than their getter answers: the deny message
    // goes in as three parts and comes out as one text; a footer is set for
    // a mask of directions and read for one; a folder is set with the order
    // whether to move what is there.
    static const std::set<std::string> kOtherShape = {"setdenymessage", "setfooter",
                                                      "setfooterenabled", "setfolder"};
    if (name.compare(last, 3, "set") != 0 || kOtherShape.count(name) != 0) return nullptr;
    const std::string head = name.substr(0, last);
    const std::string rest = name.substr(last + 3);
    for (const Probe& probe : probes) {
      const std::string getter = CanonicalMethod(agentClass, probe.method);
      if (getter == head + "get" + rest || getter == head + "is" + rest) return &probe;
    }
    return nullptr;
  }

  // What the getter answers must go back through the setter and come out
  // the same: a member written under a key the setter does not read, or
  // read only for another case than it is written for, is lost on the way.
  // The getter's input (a task id, a zone) names what the setter sets too.
  static std::string ReadBack(EnterpriseIntegration::IAgent& agent, const Probe& getter,
                              const std::string& setter) {
    const Json::Value first = Answer(agent, getter.method, getter.input);
    const Json::Value& output = first["output"];
    if (!output.isObject()) return std::string();
    Json::Value input = getter.input.isObject() ? getter.input : Json::Value(Json::objectValue);
    for (const std::string& key : output.getMemberNames()) input[key] = output[key];
    const Json::Value set = Answer(agent, setter, input);
    const Json::Value second = Answer(agent, getter.method, getter.input);
    if (set["result"].asUInt() == 0 && second == first) return std::string();
    return setter + " answered " + set["result"].asString() + " to what " + getter.method +
           " answered, " + kelhost::CompactJson(first).substr(0, 600) + ", and it came back as " +
           kelhost::CompactJson(second).substr(0, 600);
  }

  static std::string Describe(const std::vector<Probe>& probes, const Json::Value& before,
                              const Json::Value& after) {
    for (Json::ArrayIndex i = 0; i < before.size() && i < after.size(); ++i) {
      if (before[i] == after[i]) continue;
      const std::string what = i < probes.size()            ? probes[i].method
                               : i == probes.size()         ? "the plug-ins' request counts"
                                                            : "the manager's change notifications";
      return what + " answered " + kelhost::CompactJson(after[i]).substr(0, 300) + " instead of " +
             kelhost::CompactJson(before[i]).substr(0, 300);
    }
    return "the state changed";
  }

  static void Drain(Host& host) {
    if (host.module.drainLines()) host.module.drainLines()(nullptr, nullptr);
    host.manager.TakeEvents();
  }

  std::set<uint32_t> ForcedFailures(const Host& host) const {
    std::set<uint32_t> codes;
    for (const kelhost::ReferencePlugin* plugin : host.referencePlugins) {
      if (plugin->Failure() != 0) codes.insert(plugin->Failure());
    }
    return codes;
  }

  // Calls the method until `figures` has its count, or until a call let a
  // heavy input through (true: go on in a fresh host). False when the
  // campaign cannot go on with this method.
  bool Fuzz(Host& host, const Script& script, const Line& line, Mutator& mutator,
            MethodFigures& figures) {
    const Json::Value& command = line.line.command;
    const std::string as = StringMember(command, "agent");
    const std::string& agentClass = figures.agentClass;
    const std::string& method = figures.method;
    const std::string& seedAt = figures.seedAt;
    EnterpriseIntegration::IAgent* agent = host.session->AgentNamed(as);
    if (agent == nullptr) {
      outcome_.problems.push_back(seedAt + ": no agent " + as);
      return false;
    }

    // Getters whose answers move by themselves (times, running counts) are
    // no measure of what a call changed.
    std::vector<Probe> probes = ProbesOf(script, as);
    {
      const Json::Value first = Settled(host, *agent, probes);
      const Json::Value second = Snapshot(host, *agent, probes);
      std::vector<Probe> stable;
      for (size_t i = 0; i < probes.size(); ++i) {
        if (first[static_cast<Json::ArrayIndex>(i)] == second[static_cast<Json::ArrayIndex>(i)]) {
          stable.push_back(probes[i]);
        }
      }
      probes.swap(stable);
    }
    const bool isGetter = IsGetter(Lower(method));
    const Probe* getter = GetterOf(agentClass, method, probes);
    const bool waits = line.fuzzAfter;
    bool settleAlways = false;
    size_t accepted = 0;
    std::set<uint32_t> allowed = kModuleCodes;
    allowed.insert(kPluginCodes.begin(), kPluginCodes.end());
    for (uint32_t code : ForcedFailures(host)) allowed.insert(code);
    Json::Value before = Settled(host, *agent, probes, nullptr, 1, true);

    while (figures.calls < options_.callsPerMethod) {
      const size_t n = figures.calls;
      Mutant mutant = mutator.Next();
      Json::Value output;
      FuzzCall call(mutant, mutant.input, output);
      const std::string where = "seed " + std::to_string(options_.seed) + ", " + agentClass + " " +
                                method + " (seed line " + seedAt + "), call " + std::to_string(n + 1) +
                                ": " + mutant.what;
      if (options_.verbose) {
        std::printf("    %zu: %s", n + 1, mutant.what.c_str());
        std::fflush(stdout);
      }
      const auto callStarted = std::chrono::steady_clock::now();
      watchdog_.Arm(where);
      std::string fault;
      // A method that waits by design (a run until its task ends) is let
      // go the way the host would: the agent is stopped.
      const bool released = RunReleased(*agent, call, waits, fault);
      watchdog_.Disarm();
      if (released) {
        agent->Start();
        // The seed's own waiter went with the stop; another takes its place.
        Json::Value again = command;
        again["async"] = "kelfuzz." + std::to_string(++rewaits_);
        again.removeMember("expect");
        again.removeMember("expectHas");
        host.session->Execute(again);
        // A call the host ended is no refusal; the state is read anew once
        // the new waiter is in place.
        before = Settled(host, *agent, probes, nullptr, kQuietLooks);
      }
      const uint32_t code = call.GetResult();
      ++figures.calls;
      ++figures.results[code];
      if (fault.empty() && !call.ResultSet()) fault = "no result was set";
      if (fault.empty() && code != 0 && allowed.count(code) == 0) {
        fault = "result " + std::to_string(code) + " is neither the module's nor the plug-in's";
      }
      if (fault.empty() && code != 0 && !released) {
        Json::Value after = Snapshot(host, *agent, probes);
        if (!(after == before)) {
          fault = "refused with " + std::to_string(code) + " yet " + Describe(probes, before, after);
          before.swap(after);
        }
      } else if (code == 0 && !isGetter) {
        if (mutant.heavy) {
          Dismantle(mutant.input);
          Dismantle(output);
          return true;
        }
        if (fault.empty() && getter != nullptr) fault = ReadBack(*agent, *getter, method);
        // A method whose effect goes on after it returns (a run on the
        // plug-in's thread) is waited for after each call it is let through;
        // the first few calls let through tell, and so does a getter that
        // says a run is under way.
        if (settleAlways || accepted++ < 3) {
          before = Settled(host, *agent, probes, &settleAlways);
        } else {
          before = Snapshot(host, *agent, probes);
        }
        if (settleAlways || Running(before, probes.size())) {
          settleAlways = true;
          before = Settled(host, *agent, probes, nullptr, kQuietLooks, true);
        }
      }
      if (options_.verbose) {
        std::printf(" => %u, %.1f ms\n", code,
                    std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() -
                                                              callStarted)
                        .count());
        std::fflush(stdout);
      }
      if (!fault.empty() && outcome_.failures.size() < 50) {
        outcome_.failures.push_back(where + "=> " + fault);
      }
      Dismantle(mutant.input);
      Dismantle(output);
      if (n % 64 == 63) Drain(host);
    }
    return true;
  }

  // Runs the call; when `waits`, a call still running after kReleaseAfter
  // is ended by stopping the agent (answered 1067). True when it was.
  static bool RunReleased(EnterpriseIntegration::IAgent& agent, FuzzCall& call, bool waits,
                          std::string& fault) {
    std::mutex mutex;
    std::condition_variable finished;
    bool done = false;
    bool released = false;
    std::thread releaser;
    if (waits) {
      releaser = std::thread([&] {
        std::unique_lock<std::mutex> lock(mutex);
        if (!finished.wait_for(lock, kReleaseAfter, [&] { return done; })) {
          released = true;
          lock.unlock();
          agent.Stop();
        }
      });
    }
    try {
      agent.RunPolicyMethod(&call);
    } catch (...) {
      fault = "an exception came out of the module";
    }
    if (waits) {
      {
        std::lock_guard<std::mutex> lock(mutex);
        done = true;
      }
      finished.notify_all();
      releaser.join();
    }
    return released;
  }

  const CampaignOptions& options_;
  CampaignOutcome& outcome_;
  kelhost::ModuleHost module_;
  std::string loadProblem_;
  size_t rewaits_ = 0;
  Watchdog watchdog_;
};

}  // namespace

uint64_t MethodSeed(uint64_t seed, const std::string& agentClass, const std::string& method) {
  // FNV-1a over the names, mixed with the campaign seed.
  uint64_t hash = 14695981039346656037ull ^ seed;
  for (const std::string* text : {&agentClass, &method}) {
    for (unsigned char c : *text) hash = (hash ^ c) * 1099511628211ull;
    hash = (hash ^ 0xff) * 1099511628211ull;
  }
  return hash;
}

CampaignOutcome RunCampaign(const CampaignOptions& options) {
  CampaignOutcome outcome;
  const std::vector<Script> scripts = ReadScripts(options, outcome.problems);
  Runner runner(options, outcome);
  for (const Script& script : scripts) {
    for (size_t i = 0; i < script.lines.size(); ++i) {
      if (script.lines[i].fuzzBefore || script.lines[i].fuzzAfter) runner.RunSeed(script, i);
    }
  }
  return outcome;
}

}  // namespace kelfuzz
