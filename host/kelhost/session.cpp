#include "host/kelhost/session.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cwchar>
#include <exception>
#include <string>
#include <thread>
#include <vector>

#include <json/writer.h>

#include "frame/interface_id_text.h"
#include "frame/result_codes.h"
#include "host/kelhost/json_io.h"
#include "host/kelhost/policy_method.h"
#include "host/kelhost/sinks.h"
#include "frame/text_convert.h"

namespace kelhost {
namespace {

// A command that cannot be carried out; becomes the reply's "error" and "detail".
struct OpError {
  std::string error;
  std::string detail;
};

// Members every command may carry besides those of its op.
constexpr const char* kCommonFields[] = {"op", "expect", "expectHas", "expectAbsent"};

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

const Json::Value* Field(const Json::Value& command, const char* key) {
  return FindMember(command, key);
}

std::string RequiredString(const Json::Value& command, const char* key) {
  const Json::Value* value = Field(command, key);
  if (value == nullptr) throw OpError{"missing field", Quoted(key) + " is required"};
  if (!value->isString()) throw OpError{"bad field", Quoted(key) + " must be a string"};
  return value->asString();
}

std::string OptionalString(const Json::Value& command, const char* key,
                           const std::string& fallback) {
  const Json::Value* value = Field(command, key);
  if (value == nullptr) return fallback;
  if (!value->isString()) throw OpError{"bad field", Quoted(key) + " must be a string"};
  return value->asString();
}

bool OptionalBool(const Json::Value& command, const char* key, bool fallback) {
  const Json::Value* value = Field(command, key);
  if (value == nullptr) return fallback;
  if (!value->isBool()) throw OpError{"bad field", Quoted(key) + " must be true or false"};
  return value->asBool();
}

uint32_t UInt32Of(const Json::Value& value, const char* key) {
  // isUInt() also accepts integral doubles; a script writes integers as integers.
  if (value.type() == Json::realValue || !value.isUInt()) {
    throw OpError{"bad field", Quoted(key) + " must be an unsigned 32-bit integer"};
  }
  return value.asUInt();
}

uint32_t RequiredUInt32(const Json::Value& command, const char* key) {
  const Json::Value* value = Field(command, key);
  if (value == nullptr) throw OpError{"missing field", Quoted(key) + " is required"};
  return UInt32Of(*value, key);
}

Json::Value Code(uint32_t code) { return Json::Value(static_cast<Json::UInt>(code)); }

void CollectLine(void* context, uint32_t level, uint16_t, const wchar_t* function,
                 const wchar_t* message) {
  try {
    Json::Value line(Json::objectValue);
    line["level"] = Code(level);
    line["function"] =
        function ? kel::Utf8FromWide(function, std::wcslen(function)) : std::string();
    line["message"] = message ? kel::Utf8FromWide(message, std::wcslen(message)) : std::string();
    static_cast<Json::Value*>(context)->append(std::move(line));
  } catch (...) {
  }
}

}  // namespace

const std::map<std::string, Session::Op>& Session::Ops() {
  static const char* const kNone[] = {nullptr};
  static const char* const kCreate[] = {"class", "as", "iid", nullptr};
  static const char* const kAgent[] = {"agent", nullptr};
  static const char* const kCall[] = {"agent",      "method",       "input",
                                      "policyId",   "nullPolicy",   "nullInput",
                                      "nullOutput", "nullAccessor", "async",
                                      "stopAfterMs", nullptr};
  static const char* const kAwait[] = {"call", "waitMs", nullptr};
  static const char* const kPlugin[] = {"name", "available", "fail", "directory", nullptr};
  static const char* const kManager[] = {"register", nullptr};
  static const char* const kNotify[] = {"plugin", "notification", "data",
                                        "repeat", "threads",      nullptr};
  static const char* const kEvents[] = {"count", "waitMs", nullptr};
  static const char* const kSleep[] = {"ms", nullptr};
  static const char* const kRegistry[] = {"override", "key", "values", "delete", nullptr};
  static const char* const kEnv[] = {"name", "value", "inheritableEvent", nullptr};
  static const char* const kDescribe[] = {"class", nullptr};
  // clang-format off
  static const std::map<std::string, Op> ops = {
      {"create",      {&Session::Create, kCreate}},
      {"init",        {&Session::Init, kAgent}},
      {"start",       {&Session::Start, kAgent}},
      {"stop",        {&Session::Stop, kAgent}},
      {"uninit",      {&Session::Uninit, kAgent}},
      {"destroy",     {&Session::Destroy, kAgent}},
      {"call",        {&Session::Call, kCall}},
      {"await",       {&Session::Await, kAwait}},
      {"functioning", {&Session::Functioning, kAgent}},
      {"names",       {&Session::Names, kAgent}},
      {"features",    {&Session::Features, kAgent}},
      {"plugin",      {&Session::Plugin, kPlugin}},
      {"manager",     {&Session::ManagerOp, kManager}},
      {"notify",      {&Session::Notify, kNotify}},
      {"events",      {&Session::Events, kEvents}},
      {"log",         {&Session::Log, kNone}},
      {"sleep",       {&Session::Sleep, kSleep}},
      {"registry",    {&Session::Registry, kRegistry}},
      {"env",         {&Session::Environment, kEnv}},
      {"describe",    {&Session::Describe, kDescribe}},
  };
  // clang-format on
  return ops;
}

Json::Value Session::Execute(const Json::Value& command) noexcept {
  Json::Value reply(Json::objectValue);
  try {
    if (const Json::Value* op = Field(command, "op")) reply["op"] = *op;
    try {
      const std::string name = RequiredString(command, "op");
      const auto found = Ops().find(name);
      if (found == Ops().end()) throw OpError{"unknown op", "there is no op " + Quoted(name)};
      // A misspelt member would otherwise be ignored without a word.
      for (const std::string& member : command.getMemberNames()) {
        const char* const* fields = found->second.fields;
        bool known = std::find(std::begin(kCommonFields), std::end(kCommonFields), member) !=
                     std::end(kCommonFields);
        for (; !known && *fields != nullptr; ++fields) known = member == *fields;
        if (!known) throw OpError{"unknown field", name + " has no field " + Quoted(member)};
      }
      (this->*found->second.handler)(command, reply);
    } catch (const OpError& failure) {
      reply["error"] = failure.error;
      reply["detail"] = failure.detail;
    }
  } catch (const std::exception& e) {
    reply["error"] = "exception";
    reply["detail"] = e.what();
  } catch (...) {
    reply["error"] = "exception";
    reply["detail"] = "an unknown exception";
  }
  return reply;
}

Session::Instance& Session::Live(const Json::Value& command) {
  const std::string name = RequiredString(command, "agent");
  auto found = instances_.find(name);
  if (found == instances_.end())
    throw OpError{"unknown agent", "no object is named " + Quoted(name)};
  if (found->second.destroyed) {
    throw OpError{"agent destroyed", Quoted(name) + " was given back with destroy"};
  }
  return found->second;
}

EnterpriseIntegration::IAgent* Session::AgentOf(const Json::Value& command) {
  Instance& instance = Live(command);
  if (!instance.agentQueried) {
    // Every interface's slot 0 is the query, whatever the object was created as.
    instance.agent = static_cast<EnterpriseIntegration::IAgent*>(
        instance.object->QueryInterface(&EnterpriseIntegration::IID_IAgent));
    instance.agentQueried = true;
  }
  if (instance.agent == nullptr) {
    throw OpError{"not an agent", Quoted(RequiredString(command, "agent")) +
                                      " does not answer the agent interface"};
  }
  return instance.agent;
}

EnterpriseIntegration::IAgent* Session::AgentNamed(const std::string& as) noexcept {
  try {
    Json::Value command(Json::objectValue);
    command["agent"] = as;
    return AgentOf(command);
  } catch (...) {
    return nullptr;
  }
}

void Session::Create(const Json::Value& command, Json::Value& reply) {
  const std::string className = RequiredString(command, "class");
  const std::string as = OptionalString(command, "as", className);
  kel::InterfaceId iid = IID_IKelBaseInterface;
  if (const Json::Value* text = Field(command, "iid")) {
    if (!text->isString() || !kel::InterfaceIdFromText(kel::WideFromUtf8(text->asString()), iid)) {
      throw OpError{"bad field", "\"iid\" must be GUID text"};
    }
  }
  auto existing = instances_.find(as);
  if (existing != instances_.end() && !existing->second.destroyed) {
    throw OpError{"name in use", Quoted(as) + " names an object not yet destroyed"};
  }
  Instance instance;
  instance.className = kel::WideFromUtf8(className);
  void* object = nullptr;
  const uint32_t result = parts_.create(instance.className.c_str(), &iid, &object);
  reply["result"] = Code(result);
  if (result != 0 || object == nullptr) return;
  instance.object = static_cast<IKelBaseInterface*>(object);
  instance.serial = ++serial_;
  instances_[as] = std::move(instance);
}

void Session::Init(const Json::Value& command, Json::Value& reply) {
  reply["result"] = Code(AgentOf(command)->Init(parts_.servMain));
}

void Session::Start(const Json::Value& command, Json::Value& reply) {
  reply["result"] = Code(AgentOf(command)->Start());
}

void Session::Stop(const Json::Value& command, Json::Value&) { AgentOf(command)->Stop(); }

void Session::Uninit(const Json::Value& command, Json::Value&) { AgentOf(command)->Uninit(); }

void Session::Destroy(const Json::Value& command, Json::Value&) {
  Instance& instance = Live(command);
  instance.destroyed = true;
  parts_.destroy(instance.className.c_str(), instance.object);
}

namespace {

// The "async" id of a call: a string or an unsigned integer, kept as its JSON
// text so that 1 and "1" stay two ids.
std::string AsyncId(const Json::Value& value, const char* key) {
  if (!value.isString() && (value.type() == Json::realValue || !value.isUInt64())) {
    throw OpError{"bad field", Quoted(key) + " must be a string or an unsigned integer"};
  }
  Json::FastWriter writer;
  writer.omitEndingLineFeed();
  return writer.write(value);
}

void ReplyCallOutcome(const PolicyMethod& call, bool nullAccessor, Json::Value& reply) {
  // Without a result reported there is no "result": a silent agent must not pass for 0.
  if (call.ResultSet()) reply["result"] = Code(call.Result());
  if (!nullAccessor) reply["output"] = call.Output();
}

}  // namespace

void Session::Call(const Json::Value& command, Json::Value& reply) {
  EnterpriseIntegration::IAgent* agent = AgentOf(command);
  const Json::Value* method = Field(command, "method");
  if (method != nullptr && !method->isString()) {
    throw OpError{"bad field", "\"method\" must be a string"};
  }
  const Json::Value* input = Field(command, "input");
  PolicyMethod::NullAccessors nulls;
  nulls.policy = OptionalBool(command, "nullPolicy", false);
  nulls.input = OptionalBool(command, "nullInput", false);
  nulls.output = OptionalBool(command, "nullOutput", false);
  const bool nullAccessor = OptionalBool(command, "nullAccessor", false);
  auto call = std::make_unique<PolicyMethod>(
      method != nullptr, method ? kel::WideFromUtf8(method->asString()) : std::wstring(),
      kel::WideFromUtf8(OptionalString(command, "policyId", kDefaultPolicyId)),
      input ? *input : Json::Value(Json::objectValue), nulls);

  const Json::Value* async = Field(command, "async");
  if (async == nullptr) {
    // A stop from another thread while the call runs, as the host's shutdown
    // would come: how a script ends a call that waits without "async".
    std::thread stopper;
    if (const Json::Value* stopAfter = Field(command, "stopAfterMs")) {
      const uint32_t ms = UInt32Of(*stopAfter, "stopAfterMs");
      stopper = std::thread([agent, ms] {
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
        agent->Stop();
      });
    }
    agent->RunPolicyMethod(nullAccessor ? nullptr : call.get());
    if (stopper.joinable()) stopper.join();
    ReplyCallOutcome(*call, nullAccessor, reply);
    return;
  }
  if (Field(command, "stopAfterMs") != nullptr) {
    throw OpError{"bad field", "stopAfterMs: an async call is stopped with the stop op"};
  }
  const std::string id = AsyncId(*async, "async");
  if (asyncCalls_.count(id) != 0) {
    throw OpError{"name in use", "call " + id + " has not been awaited yet"};
  }
  auto pending = std::make_unique<AsyncCall>();
  pending->call = std::move(call);
  pending->nullAccessor = nullAccessor;
  pending->agent = agent;
  AsyncCall* running = pending.get();
  running->thread = std::thread([running] {
    try {
      running->agent->RunPolicyMethod(running->nullAccessor ? nullptr : running->call.get());
    } catch (...) {
    }
    std::lock_guard<std::mutex> lock(running->mutex);
    running->done = true;
    running->finished.notify_all();
  });
  asyncCalls_[id] = std::move(pending);
  reply["async"] = *async;
}

void Session::Await(const Json::Value& command, Json::Value& reply) {
  const Json::Value* callId = Field(command, "call");
  if (callId == nullptr) throw OpError{"missing field", "\"call\" is required"};
  const std::string id = AsyncId(*callId, "call");
  const Json::Value* waitMs = Field(command, "waitMs");
  const uint32_t wait = waitMs ? UInt32Of(*waitMs, "waitMs") : kDefaultAwaitMs;
  auto found = asyncCalls_.find(id);
  if (found == asyncCalls_.end()) {
    throw OpError{"unknown call", "no asynchronous call " + id + " is pending"};
  }
  AsyncCall& pending = *found->second;
  reply["call"] = *callId;
  {
    std::unique_lock<std::mutex> lock(pending.mutex);
    if (!pending.finished.wait_for(lock, std::chrono::milliseconds(wait),
                                   [&pending] { return pending.done; })) {
      reply["pending"] = true;
      return;
    }
  }
  pending.thread.join();
  ReplyCallOutcome(*pending.call, pending.nullAccessor, reply);
  asyncCalls_.erase(found);
}

void Session::JoinAsyncCalls() noexcept {
  for (auto& entry : asyncCalls_) {
    AsyncCall& pending = *entry.second;
    bool done = false;
    {
      std::lock_guard<std::mutex> lock(pending.mutex);
      done = pending.done;
    }
    try {
      if (!done) pending.agent->Stop();
    } catch (...) {
    }
    if (pending.thread.joinable()) pending.thread.join();
  }
  asyncCalls_.clear();
}

Session::~Session() { JoinAsyncCalls(); }

void Session::Functioning(const Json::Value& command, Json::Value& reply) {
  reply["functioning"] = AgentOf(command)->IsFunctioning();
}

void Session::Names(const Json::Value& command, Json::Value& reply) {
  NameCollector names;
  AgentOf(command)->ReportNames(&names);
  reply["names"] = names.Names();
}

void Session::Features(const Json::Value& command, Json::Value& reply) {
  FeatureCollector features;
  reply["result"] = Code(AgentOf(command)->ReportFeatureStates(&features));
  reply["features"] = features.Features();
}

void Session::Plugin(const Json::Value& command, Json::Value& reply) {
  const std::wstring name = kel::WideFromUtf8(RequiredString(command, "name"));
  const bool available = OptionalBool(command, "available", parts_.components->IsAvailable(name));
  ReferencePlugin* plugin = parts_.plugins->Find(name);
  if (const Json::Value* directory = Field(command, "directory")) {
    if (plugin == nullptr) {
      throw OpError{"unknown plugin", "kelhost has no plug-in " + Quoted(kel::Utf8FromWide(name))};
    }
    std::string problem;
    if (!plugin->SetDirectory(*directory, problem)) throw OpError{"bad field", problem};
  }
  if (const Json::Value* fail = Field(command, "fail")) {
    const uint32_t code = UInt32Of(*fail, "fail");
    if (plugin == nullptr) {
      throw OpError{"unknown plugin", "kelhost has no plug-in " + Quoted(kel::Utf8FromWide(name))};
    }
    plugin->SetFailure(code);
  }
  parts_.components->SetAvailable(name, available);
  reply["available"] = available;
  reply["held"] = Code(parts_.components->Held(name));
  reply["extraReleases"] = Code(parts_.components->UnmatchedReleases(name));
  if (plugin != nullptr) {
    reply["fail"] = Code(plugin->Failure());
    Json::Value requests = plugin->Recorded();
    if (!requests.isNull()) reply["requests"] = std::move(requests);
  }
}

void Session::ManagerOp(const Json::Value& command, Json::Value& reply) {
  if (Field(command, "register") != nullptr) {
    parts_.manager->SetAcceptRegistration(OptionalBool(command, "register", true));
  }
  Json::Value registered(Json::arrayValue);
  for (const std::string& name : parts_.manager->RegisteredNames()) registered.append(name);
  Json::Value changes(Json::arrayValue);
  for (uint32_t what : parts_.manager->ChangeNotifications()) changes.append(Code(what));
  reply["registered"] = registered;
  reply["changeNotifications"] = changes;
}

void Session::Notify(const Json::Value& command, Json::Value& reply) {
  const std::string name = RequiredString(command, "plugin");
  const std::string notification = RequiredString(command, "notification");
  const Json::Value* data = Field(command, "data");
  ReferencePlugin* plugin = parts_.plugins->Find(kel::WideFromUtf8(name));
  if (plugin == nullptr) throw OpError{"unknown plugin", "kelhost has no plug-in " + Quoted(name)};
  Delivery delivery;
  if (const Json::Value* repeat = Field(command, "repeat")) {
    delivery.repeat = UInt32Of(*repeat, "repeat");
  }
  if (const Json::Value* threads = Field(command, "threads")) {
    delivery.threads = UInt32Of(*threads, "threads");
  }
  if (delivery.repeat == 0 || delivery.threads == 0 || delivery.threads > kMaxNotifyThreads) {
    throw OpError{"bad field",
                  "repeat must be at least 1, threads 1 to " + std::to_string(kMaxNotifyThreads)};
  }
  const NotifyOutcome outcome =
      plugin->NotifyRepeated(notification, data ? *data : Json::Value(Json::objectValue), delivery);
  if (!outcome.error.empty()) throw OpError{outcome.error, outcome.detail};
  reply["delivered"] = Code(outcome.delivered);
}

void Session::Events(const Json::Value& command, Json::Value& reply) {
  const Json::Value* count = Field(command, "count");
  const uint32_t atLeast = count ? UInt32Of(*count, "count") : 0;
  const Json::Value* waitMs = Field(command, "waitMs");
  const uint32_t wait = waitMs ? UInt32Of(*waitMs, "waitMs") : kDefaultEventWaitMs;
  Json::Value events(Json::arrayValue);
  for (ReceivedEvent& received :
       parts_.manager->TakeEvents(atLeast, std::chrono::milliseconds(wait))) {
    Json::Value event(Json::objectValue);
    event["name"] = received.name;
    event["flags"] = Code(received.flags);
    event["body"] = std::move(received.body);
    if (received.log) {
      Json::Value log(Json::objectValue);
      log["category"] = Code(received.log->category);
      log["severity"] = Code(received.log->severity);
      log["code"] = Code(received.log->code);
      log["count"] = Code(received.log->count);
      event["log"] = std::move(log);
    }
    events.append(std::move(event));
  }
  reply["events"] = std::move(events);
}

void Session::Log(const Json::Value&, Json::Value& reply) {
  if (parts_.drainLines == nullptr) {
    throw OpError{"no log library", "no recording log.dll was found beside the module"};
  }
  Json::Value lines(Json::arrayValue);
  parts_.drainLines(&CollectLine, &lines);
  reply["lines"] = std::move(lines);
}

void Session::Sleep(const Json::Value& command, Json::Value&) {
  std::this_thread::sleep_for(std::chrono::milliseconds(RequiredUInt32(command, "ms")));
}

namespace {

std::string Win32Detail(const std::string& what, DWORD code) {
  return what + " failed with " + std::to_string(code);
}

// One registry value from {"sz": S} | {"expandSz": S} | {"dword": N} | {"binary": HEX}.
void SetValue(HKEY key, const std::string& name, const Json::Value& typed) {
  const std::string where = "\"values\"." + name;
  if (!typed.isObject() || typed.size() != 1)
    throw OpError{"bad field", where + " must be one of {sz}, {expandSz}, {dword}, {binary}"};
  const std::string kind = typed.getMemberNames().front();
  const Json::Value& value = typed[kind];
  DWORD type = REG_NONE;
  std::vector<BYTE> bytes;
  if (kind == "sz" || kind == "expandSz") {
    if (!value.isString()) throw OpError{"bad field", where + "." + kind + " must be a string"};
    type = kind == "sz" ? REG_SZ : REG_EXPAND_SZ;
    const std::wstring text = kel::WideFromUtf8(value.asString());
    const BYTE* begin = reinterpret_cast<const BYTE*>(text.c_str());
    bytes.assign(begin, begin + (text.size() + 1) * sizeof(wchar_t));
  } else if (kind == "dword") {
    const DWORD number = UInt32Of(value, (where + ".dword").c_str());
    type = REG_DWORD;
    const BYTE* begin = reinterpret_cast<const BYTE*>(&number);
    bytes.assign(begin, begin + sizeof(number));
  } else if (kind == "binary") {
    const std::string hex = value.isString() ? value.asString() : std::string("?");
    if (hex.size() % 2 != 0 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
      throw OpError{"bad field", where + ".binary must be hexadecimal text"};
    type = REG_BINARY;
    for (size_t i = 0; i < hex.size(); i += 2)
      bytes.push_back(static_cast<BYTE>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  } else {
    throw OpError{"bad field", where + " has no kind " + Quoted(kind)};
  }
  const std::wstring wideName = kel::WideFromUtf8(name);
  const LSTATUS status = ::RegSetValueExW(key, wideName.c_str(), 0, type, bytes.data(),
                                          static_cast<DWORD>(bytes.size()));
  if (status != ERROR_SUCCESS)
    throw OpError{"registry", Win32Detail("setting " + Quoted(name), static_cast<DWORD>(status))};
}

}  // namespace

void Session::Registry(const Json::Value& command, Json::Value& reply) {
  if (OptionalBool(command, "override", false)) {
    if (const DWORD status = registry_.Override())
      throw OpError{"registry", Win32Detail("redirecting HKEY_LOCAL_MACHINE", status)};
  }
  reply["override"] = registry_.active();
  if (Field(command, "key") == nullptr) {
    if (Field(command, "values") != nullptr || Field(command, "delete") != nullptr)
      throw OpError{"missing field", "\"key\" is required"};
    return;
  }
  // Scripts never write the machine's own registry.
  if (!registry_.active())
    throw OpError{"registry",
                  "HKEY_LOCAL_MACHINE is not redirected: send {\"override\":true} first"};
  const std::wstring key = kel::WideFromUtf8(RequiredString(command, "key"));
  if (OptionalBool(command, "delete", false)) {
    const DWORD status = registry_.DeleteKey(key);
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
      throw OpError{"registry", Win32Detail("deleting the key", status)};
    return;
  }
  kel::UniqueHkey created;
  if (const DWORD status = registry_.CreateKey(key, created))
    throw OpError{"registry", Win32Detail("creating the key", status)};
  if (const Json::Value* values = Field(command, "values")) {
    if (!values->isObject()) throw OpError{"bad field", "\"values\" must be an object"};
    for (const std::string& name : values->getMemberNames())
      SetValue(created.get(), name, (*values)[name]);
  }
}

void Session::Environment(const Json::Value& command, Json::Value& reply) {
  const std::wstring name = kel::WideFromUtf8(RequiredString(command, "name"));
  const Json::Value* value = Field(command, "value");
  std::wstring text;
  if (OptionalBool(command, "inheritableEvent", false)) {
    if (value != nullptr)
      throw OpError{"bad field", "\"value\" and \"inheritableEvent\" exclude each other"};
    SECURITY_ATTRIBUTES inheritable{sizeof(inheritable), nullptr, TRUE};
    kel::UniqueEvent event(::CreateEventW(&inheritable, TRUE, FALSE, nullptr));
    if (!event) throw OpError{"env", Win32Detail("CreateEventW", ::GetLastError())};
    text = std::to_wstring(reinterpret_cast<uintptr_t>(event.get()));
    inheritableEvents_.push_back(std::move(event));
  } else if (value != nullptr && !value->isNull()) {
    if (!value->isString()) throw OpError{"bad field", "\"value\" must be a string or null"};
    text = kel::WideFromUtf8(value->asString());
  }
  const bool remove = text.empty() && (value == nullptr || value->isNull());
  if (!::SetEnvironmentVariableW(name.c_str(), remove ? nullptr : text.c_str()) && !remove)
    throw OpError{"env", Win32Detail("SetEnvironmentVariableW", ::GetLastError())};
  if (remove)
    reply["value"] = Json::Value();
  else
    reply["value"] = kel::Utf8FromWide(text);
}

void Session::Shutdown() noexcept {
  JoinAsyncCalls();
  try {
    std::vector<Instance*> live;
    for (auto& entry : instances_) {
      if (!entry.second.destroyed) live.push_back(&entry.second);
    }
    std::sort(live.begin(), live.end(),
              [](const Instance* a, const Instance* b) { return a->serial > b->serial; });
    for (Instance* instance : live) {
      instance->destroyed = true;
      parts_.destroy(instance->className.c_str(), instance->object);
    }
  } catch (...) {
  }
}

namespace {

// What the module's describe export hands over: one document per class, or
// null for a class whose objects cannot describe themselves.
void CollectSchemas(const wchar_t* className, ISchemaSource* source, void* context) {
  Json::Value document;
  if (source == nullptr || source->DescribeSchemas(&document) != 0) document = Json::Value();
  (*static_cast<Json::Value*>(context))[kel::Utf8FromWide(className, std::wcslen(className))] =
      std::move(document);
}

}  // namespace

void Session::Describe(const Json::Value& command, Json::Value& reply) {
  if (parts_.describe == nullptr) {
    throw OpError{"no describe", "the module does not export KelDescribeClasses"};
  }
  const Json::Value* named = Field(command, "class");
  const std::wstring className =
      named ? kel::WideFromUtf8(RequiredString(command, "class")) : std::wstring();
  Json::Value classes(Json::objectValue);
  const uint32_t code =
      parts_.describe(named ? className.c_str() : nullptr, &CollectSchemas, &classes);
  if (code == kel::result::kNotFound) {
    throw OpError{"unknown class", "the module registers no class " + Quoted(named->asString())};
  }
  if (code != 0) throw OpError{"describe", "KelDescribeClasses answered " + std::to_string(code)};
  if (named) {
    reply["class"] = *named;
    reply["schema"] = classes[named->asString()];
  } else {
    reply["classes"] = std::move(classes);
  }
}

}  // namespace kelhost
