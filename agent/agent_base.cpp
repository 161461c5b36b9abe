#include "agent/agent_base.h"

#include <algorithm>
#include <cwchar>

#include "frame/result_codes.h"
#include "frame/logging/trace_scope.h"
#include "frame/scope_exit.h"

namespace EnterpriseIntegration {

AgentBase::AgentBase(const wchar_t* agentName, const wchar_t* className,
                     const DispatchRules& rules)
    : manager_(kManagerComponentName), name_(agentName), className_(className), rules_(rules) {}

AgentBase::~AgentBase() { UninitSteps(); }

std::wstring AgentBase::Qualified(const wchar_t* operation) const {
  return className_ + L"::" + operation;
}

void* AgentBase::QueryInterface(const kel::InterfaceId* iid) {
  if (!iid) return nullptr;
  if (*iid == IID_IKelBaseInterface || *iid == IID_IServPlugin || *iid == IID_IAgent)
    return static_cast<IAgent*>(this);
  if (*iid == IID_ISchemaSource) return static_cast<ISchemaSource*>(&schemaSource_);
  return nullptr;
}

void AgentBase::Enlist(NotificationRegistration& registration) {
  registrations_.push_back(&registration);
}

void AgentBase::Delist(NotificationRegistration& registration) noexcept {
  registrations_.erase(std::remove(registrations_.begin(), registrations_.end(), &registration),
                       registrations_.end());
}

uint32_t AgentBase::InitSteps(IServMain* main) {
  // Init may be called again: what is held is given back and got afresh, but
  // a started agent stays registered with the manager.
  ReleaseHeld();
  kel::ScopeExit rollback([this] { UninitSteps(); });
  IComponentManager* components = main ? main->GetComponentManager() : nullptr;
  if (!manager_.GetPlugin(components)) return kel::result::kComponentMissing;
  for (DeclaredPlugin& declared : plugins_) {
    if (!declared.holder->Acquire(components) && declared.need == PluginNeed::kRequired) {
      OnRequiredPluginMissing(declared.holder->ComponentName());
      return kel::result::kComponentMissing;
    }
  }
  if (const uint32_t code = OnPluginsAcquired()) return code;
  rollback.Dismiss();
  return kel::result::kSuccess;
}

void AgentBase::StopSteps() {
  if (!registered_) return;
  registered_ = false;
  if (IManager* manager = manager_.get()) manager->UnregisterAgent(this);
}

void AgentBase::ReleaseHeld() noexcept {
  // Sinks go first: a plug-in must not call into an agent that no longer holds it.
  for (auto r = registrations_.rbegin(); r != registrations_.rend(); ++r) (*r)->Reset();
  manager_.Release();
  for (auto p = plugins_.rbegin(); p != plugins_.rend(); ++p) p->holder->Release();
}

void AgentBase::UninitSteps() noexcept {
  try {
    StopSteps();
  } catch (...) {
    // A manager that throws on unregistering still gets its component back.
  }
  ReleaseHeld();
}

uint32_t AgentBase::Init(IServMain* main) {
  TraceScope trace(Qualified(L"Init").c_str());
  try {
    return InitSteps(main);
  } catch (...) {
    UninitSteps();
    return kel::result::kComponentMissing;
  }
}

void AgentBase::Uninit() {
  TraceScope trace(Qualified(L"Uninit").c_str());
  UninitSteps();
}

uint32_t AgentBase::Start() {
  TraceScope trace(Qualified(L"Start").c_str());
  try {
    IManager* manager = manager_.get();
    if (!manager) return kel::result::kNotReady;  // started before a successful Init
    if (!manager->RegisterAgent(this)) return kel::result::kFunctionFailed;
    registered_ = true;
    return kel::result::kSuccess;
  } catch (...) {
    return kel::result::kFunctionFailed;
  }
}

void AgentBase::Stop() {
  TraceScope trace(Qualified(L"Stop").c_str());
  try {
    StopSteps();
  } catch (...) {
  }
}

uint32_t AgentBase::ReportFeatureStates(IFeatureStateSink*) { return kel::result::kSuccess; }
uint32_t AgentBase::OnHostNotification(uint32_t) { return kel::result::kSuccess; }
bool AgentBase::IsFunctioning() { return true; }

void AgentBase::ReportNames(INameSink* sink) {
  if (!sink) return;
  try {
    sink->AddName(name_.c_str());
  } catch (...) {
  }
}

uint32_t AgentBase::CopyAgentName(wchar_t* buffer, uint32_t capacity) {
  const size_t length = name_.Length();
  if (buffer && capacity > 0) {
    const size_t copied = std::min<size_t>(length, capacity - 1);
    std::wmemcpy(buffer, name_.c_str(), copied);
    buffer[copied] = L'\0';
  }
  return static_cast<uint32_t>(length);
}

const wchar_t* AgentBase::GetAgentName() { return name_.c_str(); }
void AgentBase::OnAttached() {}
void AgentBase::OnDetached() {}
uint32_t AgentBase::GetPendingWork() { return 0; }

bool AgentBase::HasPlugins() const {
  if (!manager_.get()) return false;
  return std::all_of(plugins_.begin(), plugins_.end(), [](const DeclaredPlugin& declared) {
    return declared.need == PluginNeed::kOptional || declared.holder->Held();
  });
}

PolicyMethodTable AgentBase::PolicyMethods() const { return {}; }
EventTable AgentBase::Events() const { return {}; }

uint32_t AgentBase::SendEvent(const wchar_t* name, const Json::Value& body, uint32_t options) {
  IManager* manager = manager_.get();
  if (!manager) return kel::result::kNotReady;
  try {
    return manager->SendEvent(name, &body, options);
  } catch (...) {
    return kel::result::kFunctionFailed;
  }
}

namespace {

void LogIf(const LogMessage& message, const wchar_t* function, const wchar_t* name = nullptr) {
  if (message.format) logging::Write(message.level, function, message.format, name);
}

}  // namespace

uint32_t AgentBase::PrecheckPolicyCall(IPolicyMethod* method, const wchar_t* function) const {
  auto refuse = [function](const LogMessage& message, uint32_t code) {
    LogIf(message, function);
    return code;
  };
  if (!HasPlugins()) return refuse(rules_.noPlugins, kel::result::kNotReady);
  if (!method) return refuse(rules_.nullMethod, kel::result::kBadArguments);
  const uint8_t needs = rules_.requiredAccessors;
  if (((needs & kNeedsPolicy) && !method->GetPolicyId()) ||
      ((needs & kNeedsName) && !method->GetMethodName()) ||
      ((needs & kNeedsInput) && !method->GetInput()) ||
      ((needs & kNeedsOutput) && !method->GetOutput()))
    return refuse(rules_.badData, kel::result::kInvalidData);
  return kel::result::kSuccess;
}

const wchar_t* AgentBase::StripPrefix(const wchar_t* name) const noexcept {
  // "<agent name>.Name" and "Name" reach the same handler; the prefix counts
  // only at the very start.
  const size_t prefixLength = name_.Length();
  if (rules_.stripPrefix && prefixLength > 0 &&
      std::wcsncmp(name, name_.c_str(), prefixLength) == 0 && name[prefixLength] == L'.')
    return name + prefixLength + 1;
  return name;
}

void AgentBase::RunPolicyMethod(IPolicyMethod* method) {
  const std::wstring function = Qualified(L"RunPolicyMethod");
  TraceScope trace(function.c_str());
  try {
    const std::wstring precheck =
        rules_.precheckName ? rules_.precheckName : function + L"::<lambda_1>::operator ()";
    if (const uint32_t refused = PrecheckPolicyCall(method, precheck.c_str())) {
      if (method) method->SetResult(refused);
      return;
    }

    const wchar_t* given = method->GetMethodName();
    const wchar_t* name = StripPrefix(given ? given : L"");
    LogIf(rules_.methodName, function.c_str(), name);
    const PolicyMethodEntry* entry = PolicyMethods().Find(name, rules_.match);
    if (!entry) {
      LogIf(rules_.notFound, function.c_str(), name);
      method->SetResult(kel::result::kInvalidOperation);
      return;
    }
    if (!entry->handler(*this, *method)) {
      LogIf(rules_.validationFailed, function.c_str(), name);
      method->SetResult(kel::result::kBadArguments);
    }
  } catch (...) {
    // A handler that throws (out of memory, a broken plug-in) must not take the
    // manager's thread with it.
    try {
      if (method) method->SetResult(kel::result::kInternalError);
    } catch (...) {
    }
  }
}

}  // namespace EnterpriseIntegration
