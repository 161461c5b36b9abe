#include "agent/agent_base.h"

#include <algorithm>
#include <cwchar>

#include "agent/result_codes.h"
#include "frame/logging/trace_scope.h"
#include "frame/scope_exit.h"

namespace EnterpriseIntegration {

AgentBase::AgentBase(const wchar_t* agentName, const wchar_t* className)
    : manager_(kManagerComponentName), name_(agentName), className_(className) {}

AgentBase::~AgentBase() {
  try {
    UninitSteps();
  } catch (...) {
  }
}

std::wstring AgentBase::Qualified(const wchar_t* operation) const {
  return className_ + L"::" + operation;
}

void* AgentBase::QueryInterface(const kel::InterfaceId* iid) {
  if (!iid) return nullptr;
  if (*iid == IID_IKelBaseInterface || *iid == IID_IServPlugin || *iid == IID_IAgent)
    return static_cast<IAgent*>(this);
  return nullptr;
}

uint32_t AgentBase::InitSteps(IServMain* main) {
  kel::ScopeExit rollback([this] { UninitSteps(); });
  IComponentManager* components = main ? main->GetComponentManager() : nullptr;
  if (!manager_.GetPlugin(components)) return kel::result::kComponentMissing;
  rollback.Dismiss();
  return kel::result::kSuccess;
}

void AgentBase::StopSteps() {
  if (!registered_) return;
  registered_ = false;
  if (IManager* manager = manager_.get()) manager->UnregisterAgent(this);
}

void AgentBase::UninitSteps() {
  StopSteps();
  manager_.Release();
}

uint32_t AgentBase::Init(IServMain* main) {
  TraceScope trace(Qualified(L"Init").c_str());
  try {
    return InitSteps(main);
  } catch (...) {
    return kel::result::kComponentMissing;
  }
}

void AgentBase::Uninit() {
  TraceScope trace(Qualified(L"Uninit").c_str());
  try {
    UninitSteps();
  } catch (...) {
  }
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

bool AgentBase::HasPlugins() const { return manager_.get() != nullptr; }

PolicyMethodTable AgentBase::PolicyMethods() const { return {}; }

uint32_t AgentBase::SendEvent(const wchar_t* name, const Json::Value& body, uint32_t options) {
  IManager* manager = manager_.get();
  if (!manager) return kel::result::kNotReady;
  try {
    return manager->SendEvent(name, &body, options);
  } catch (...) {
    return kel::result::kFunctionFailed;
  }
}

uint32_t AgentBase::PrecheckPolicyCall(IPolicyMethod* method, const wchar_t* function) const {
  auto refuse = [function](const wchar_t* message, uint32_t code) {
    logging::Write(logging::kLevelMissingPrerequisite, function, message);
    return code;
  };
  if (!HasPlugins()) return refuse(L"Don't have one of the two plugins", kel::result::kNotReady);
  if (!method) return refuse(L"invalid policy parameter", kel::result::kBadArguments);
  if (!method->GetPolicyId() || !method->GetInput() || !method->GetOutput())
    return refuse(L"invalid policy data", kel::result::kInvalidData);
  return kel::result::kSuccess;
}

void AgentBase::RunPolicyMethod(IPolicyMethod* method) {
  const std::wstring function = Qualified(L"RunPolicyMethod");
  TraceScope trace(function.c_str());
  try {
    const std::wstring precheck = function + L"::<lambda_1>::operator ()";
    if (const uint32_t refused = PrecheckPolicyCall(method, precheck.c_str())) {
      if (method) method->SetResult(refused);
      return;
    }

    // "<agent name>.Name" and "Name" reach the same handler; the prefix counts
    // only at the very start.
    const wchar_t* name = method->GetMethodName();
    if (!name) name = L"";
    const size_t prefixLength = name_.Length();
    if (prefixLength > 0 && std::wcsncmp(name, name_.c_str(), prefixLength) == 0 &&
        name[prefixLength] == L'.')
      name += prefixLength + 1;

    logging::Write(logging::kLevelTrace, function.c_str(), L"Method name is '%s'", name);
    const PolicyMethodEntry* entry = PolicyMethods().Find(name);
    if (!entry) {
      logging::Write(logging::kLevelFailure, function.c_str(), L"Function %s not found", name);
      method->SetResult(kel::result::kInvalidOperation);
      return;
    }
    if (!entry->handler(*this, *method)) {
      logging::Write(logging::kLevelFailure, function.c_str(), L"%s - input validation failed",
                     name);
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
