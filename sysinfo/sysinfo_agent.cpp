#include "sysinfo/sysinfo_agent.h"

#include <algorithm>
#include <chrono>

#include "agent/policy_answer.h"
#include "frame/logging/trace_scope.h"
#include "frame/text_convert.h"
#include "frame/result_codes.h"
#include "sysinfo/exchange_detection.h"
#include "sysinfo/sysinfo_dispatch.h"
#include "sysinfo/xml2json.h"

namespace EnterpriseIntegration {

// GetExchangeInfo's answer.
// clang-format off
template <>
struct JsonSchema<SystemInfo::ExchangeInstallInfo> : JsonSchemaBase<SystemInfo::ExchangeInstallInfo> {
  using S = SystemInfo::ExchangeInstallInfo;
  static constexpr auto kFields = Fields(
      Required("versionCode",         &S::versionCode),
      Required("msiProductMajor",     &S::msiProductMajor),
      Required("msiProductMinor",     &S::msiProductMinor),
      Required("msiBuildMajor",       &S::msiBuildMajor),
      Required("msiBuildMinor",       &S::msiBuildMinor),
      Required("roles/mailbox",       &S::mailboxRole),
      Required("roles/hubTransport",  &S::hubTransportRole),
      Required("roles/edgeTransport", &S::edgeTransportRole),
      Required("roles/clientAccess",  &S::clientAccessRole),
      Required("installPath",         &S::installPath),
      Required("pickupPath",          &S::pickupPath));
};
// clang-format on

}  // namespace EnterpriseIntegration

namespace SystemInfo {

using EnterpriseIntegration::AnswerWith;
using EnterpriseIntegration::Handle;

namespace {

// What the worker's XML becomes (xml2json.h) is open: only the levels the
// mapping itself makes are known. A converted element is a member holding its
// "value" text or, with elements inside, an object of the same kind.
Json::Value ConvertedElements() {
  Json::Value object = EnterpriseIntegration::TypeSchema("object");
  Json::Value& member = object["additionalProperties"];
  member["type"].append("string");
  member["type"].append("object");
  EnterpriseIntegration::AddDescription(object, "The worker's elements, converted as they are.");
  return object;
}

// The answer when the worker's text was well-formed: `key` holding `value`;
// otherwise nothing is written and the output stays as the host passed it.
void WriteAnswer(Json::Value& schema, const char* key, Json::Value value) {
  schema = Json::Value(Json::objectValue);
  schema["$schema"] = EnterpriseIntegration::kSchemaDialect;
  schema["type"].append("object");
  schema["type"].append("null");
  schema["properties"][key] = std::move(value);
  schema["required"].append(key);
  schema["additionalProperties"] = false;
}

// The converted elements of one level of servers, databases or mailboxes,
// with the next level's array under `inner`.
Json::Value LevelItems(const char* inner, Json::Value innerItems) {
  Json::Value item = ConvertedElements();
  if (inner != nullptr) {
    Json::Value& array = item["properties"][inner] = EnterpriseIntegration::TypeSchema("array");
    array["items"] = std::move(innerItems);
    item["required"].append(inner);
  }
  Json::Value array = EnterpriseIntegration::TypeSchema("array");
  array["items"] = std::move(item);
  return array;
}

void WriteStructureSchema(Json::Value& schema) {
  Json::Value mailboxes = LevelItems(nullptr, Json::Value());
  Json::Value databases = LevelItems("mailboxes", std::move(mailboxes["items"]));
  WriteAnswer(schema, "servers", LevelItems("databases", std::move(databases["items"])));
}

void WriteConfigurationSchema(Json::Value& schema) {
  WriteAnswer(schema, "configuration", ConvertedElements());
}

// The module this code is linked into: the worker lies beside it.
HMODULE ThisModule() {
  static const char kMarker = 0;
  HMODULE module = nullptr;
  ::GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<const wchar_t*>(&kMarker), &module);
  return module;
}

}  // namespace

Agent::Agent(const wchar_t* agentName)
    : AgentBase(agentName, L"SystemInfo::Agent", kSystemInfoDispatchRules) {}

Agent::~Agent() {
  try {
    StopWorkers();
  } catch (...) {
  }
}

EnterpriseIntegration::PolicyMethodTable Agent::PolicyMethods() const {
  static constexpr EnterpriseIntegration::PolicyMethodEntry kMethods[] = {
      {L"GetOrganizationStructure", Handle<&Agent::GetOrganizationStructure>,
       EnterpriseIntegration::kNoInput, EnterpriseIntegration::SchemaShape(&WriteStructureSchema)},
      {L"GetOrganizationConfiguration", Handle<&Agent::GetOrganizationConfiguration>,
       EnterpriseIntegration::kNoInput,
       EnterpriseIntegration::SchemaShape(&WriteConfigurationSchema)},
      {L"GetExchangeInfo", Handle<&Agent::GetExchangeInfo>, EnterpriseIntegration::kNoInput,
       EnterpriseIntegration::kOutputOf<ExchangeInstallInfo>},
  };
  return kMethods;
}

uint32_t Agent::Start() {
  try {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = false;
  } catch (...) {
    return kel::result::kFunctionFailed;
  }
  return AgentBase::Start();
}

void Agent::Stop() {
  TraceScope trace(Qualified(L"Stop").c_str());
  try {
    StopWorkers();
    StopSteps();
  } catch (...) {
  }
}

void Agent::StopWorkers() {
  std::unique_lock<std::mutex> lock(mutex_);
  stopping_ = true;
  // The event is signalled through the handle its run created: opened by
  // name, our own deny entry would refuse us the right to signal it.
  for (const Running& run : running_) ::SetEvent(run.stopEvent);
  if (idle_.wait_for(lock, std::chrono::milliseconds(kStopGraceMs), [this] { return calls_ == 0; }))
    return;
  // A worker that ignores its event would hold the host's shutdown for ever.
  for (const Running& run : running_) ::TerminateProcess(run.process, 1);
  idle_.wait(lock, [this] { return calls_ == 0; });
}

bool Agent::BeginCall() {
  std::lock_guard<std::mutex> lock(mutex_);
  if (stopping_) return false;
  ++calls_;
  return true;
}

void Agent::EndCall() {
  std::lock_guard<std::mutex> lock(mutex_);
  if (--calls_ == 0) idle_.notify_all();
}

bool Agent::Enter(HANDLE stopEvent, HANDLE process) {
  std::lock_guard<std::mutex> lock(mutex_);
  // Listed even while stopping, so that the grace period's end reaches it too.
  running_.push_back({stopEvent, process});
  return stopping_;
}

void Agent::Leave(HANDLE stopEvent) {
  std::lock_guard<std::mutex> lock(mutex_);
  running_.erase(
      std::remove_if(running_.begin(), running_.end(),
                     [stopEvent](const Running& run) { return run.stopEvent == stopEvent; }),
      running_.end());
}

template <class Convert>
bool Agent::RunMethod(IPolicyMethod& method, const wchar_t* operation, const wchar_t* switchText,
                      Convert convert) {
  TraceScope trace(Qualified(operation).c_str());
  if (!BeginCall()) {
    method.SetResult(kel::result::kInvalidState);
    return true;
  }
  struct CallCount {
    Agent& agent;
    ~CallCount() { agent.EndCall(); }
  } counted{*this};

  WorkerOutcome outcome = RunWorker(WorkerPathBeside(ThisModule()), switchText, *this);
  if (outcome.code != kel::result::kSuccess)
    logging::Write(logging::kLevelFailure, Qualified(operation).c_str(), L"Worker %s ended with %u",
                   switchText, outcome.code);
  // Not well-formed: the output stays empty and the outcome stands.
  AnswerWith(method, outcome.code, [&outcome, &convert](Json::Value& document) {
    convert(outcome.output, document);
    return true;
  });
  return true;
}

bool Agent::GetOrganizationStructure(IPolicyMethod& method) {
  return RunMethod(method, L"GetOrganizationStructure", L"/listmb", &StructureToJson);
}

bool Agent::GetOrganizationConfiguration(IPolicyMethod& method) {
  return RunMethod(method, L"GetOrganizationConfiguration", L"/orgConfig", &ConfigurationToJson);
}

bool Agent::GetExchangeInfo(IPolicyMethod& method) {
  TraceScope trace(Qualified(L"GetExchangeInfo").c_str());
  EnterpriseIntegration::Answer(method, kel::result::kSuccess, DetectExchange());
  return true;
}

}  // namespace SystemInfo
