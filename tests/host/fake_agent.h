#pragma once
// A small agent written straight against the interfaces, with nothing of the
// module's agent framework, so that kelhost is tested on its own: it finds the
// manager and "Test.Sample" through the component manager, registers, serves a
// few policy methods and turns the plug-in's notification into an event.
//
// Policy methods (the prefix "<agent name>." is optional):
//   Echo         output = input
//   SetSettings  input {"enabled","name","level","servers"} to the plug-in
//   GetSettings  the plug-in's settings as output
//   Emit         event input["name"] with input["body"] and input["flags"],
//                sent from a thread of the agent's after input["delayMs"]
//   Changed      the manager's change notification with input["what"]
//   Log          a line at level 8 with input["message"]
//   Silent       reports no result at all
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>

#include <json/value.h>

#include "frame/logging/log.h"
#include "frame/text_convert.h"
#include "sdk/agent.h"
#include "sdk/manager.h"
#include "sdk/sample/isample.h"

namespace fake {

inline constexpr wchar_t kChangedEvent[] = L"Test.Fake.Changed";

class FakeAgent final : public EnterpriseIntegration::IAgent,
                        private kel::nusdk::Sample::ISampleNotifications {
 public:
  explicit FakeAgent(const wchar_t* agentName) : name_(agentName) {}
  FakeAgent(const FakeAgent&) = delete;
  FakeAgent& operator=(const FakeAgent&) = delete;
  ~FakeAgent() {
    try {
      Release();
      JoinEmitter();
    } catch (...) {
    }
  }

  void* QueryInterface(const kel::InterfaceId* iid) override {
    if (iid != nullptr && (*iid == IID_IKelBaseInterface || *iid == IID_IServPlugin ||
                           *iid == EnterpriseIntegration::IID_IAgent)) {
      return static_cast<EnterpriseIntegration::IAgent*>(this);
    }
    return nullptr;
  }

  uint32_t Init(IServMain* main) override {
    try {
      Release();
      components_ = main != nullptr ? main->GetComponentManager() : nullptr;
      if (components_ == nullptr) return 5002;
      void* manager = nullptr;
      if (components_->GetComponent(EnterpriseIntegration::kManagerComponentName,
                                    &EnterpriseIntegration::IID_IManager, &manager) != 0) {
        return 5002;
      }
      manager_ = static_cast<EnterpriseIntegration::IManager*>(manager);
      void* sample = nullptr;
      if (components_->GetComponent(kel::nusdk::Sample::kComponentName,
                                    &kel::nusdk::Sample::IID_ISample, &sample) != 0) {
        Release();
        return 5002;
      }
      sample_ = static_cast<kel::nusdk::Sample::ISample*>(sample);
      if (const uint32_t code = sample_->Advise(this)) {
        Release();
        return code;
      }
      advised_ = true;
      return 0;
    } catch (...) {
      return 5002;
    }
  }

  void Uninit() override {
    try {
      Release();
    } catch (...) {
    }
  }

  uint32_t Start() override {
    if (manager_ == nullptr) return 21;
    if (!manager_->RegisterAgent(this)) return 1627;
    registered_ = true;
    return 0;
  }

  void Stop() override {
    if (!registered_) return;
    registered_ = false;
    manager_->UnregisterAgent(this);
  }

  uint32_t ReportFeatureStates(IFeatureStateSink* sink) override {
    if (sink == nullptr) return 160;
    sink->ReportFeature(L"Fake.Feature", true);
    sink->ReportFeature(L"Fake.Disabled", false);
    return 0;
  }

  uint32_t OnHostNotification(uint32_t) override { return 0; }

  void RunPolicyMethod(IPolicyMethod* method) override {
    try {
      if (sample_ == nullptr) {
        if (method != nullptr) method->SetResult(21);
        return;
      }
      if (method == nullptr) return;
      if (method->GetPolicyId() == nullptr || method->GetInput() == nullptr ||
          method->GetOutput() == nullptr) {
        method->SetResult(13);
        return;
      }
      std::wstring name = method->GetMethodName() ? method->GetMethodName() : L"";
      const std::wstring prefix = name_ + L".";
      if (name.compare(0, prefix.size(), prefix) == 0) name.erase(0, prefix.size());
      Dispatch(name, *method->GetInput(), *method->GetOutput(), *method);
    } catch (...) {
      if (method != nullptr) method->SetResult(1359);
    }
  }

  bool IsFunctioning() override { return true; }

  void ReportNames(INameSink* sink) override {
    if (sink != nullptr) sink->AddName(name_.c_str());
  }

  // kelhost reads the name through GetAgentName only.
  uint32_t CopyAgentName(wchar_t*, uint32_t) override { return 0; }

  const wchar_t* GetAgentName() override { return name_.c_str(); }
  void OnAttached() override {}
  void OnDetached() override {}
  uint32_t GetPendingWork() override { return 0; }

 private:
  static std::wstring Wide(const Json::Value& value) {
    return value.isString() ? kel::WideFromUtf8(value.asString()) : std::wstring();
  }

  void Dispatch(const std::wstring& name, const Json::Value& input, Json::Value& output,
                IPolicyMethod& method) {
    if (name == L"Echo") {
      output = input;
      method.SetResult(0);
    } else if (name == L"SetSettings") {
      if (!input.isObject()) return method.SetResult(160);
      kel::nusdk::Sample::SampleSettings settings;
      settings.enabled = input.get("enabled", false).asBool() ? 1 : 0;
      settings.name = Wide(input.get("name", "")).c_str();
      settings.level = input.get("level", 1).asUInt();
      for (const Json::Value& server : input.get("servers", Json::Value(Json::arrayValue))) {
        settings.servers.AddBack(kel::StringW(Wide(server).c_str()));
      }
      method.SetResult(sample_->SetSettings(settings));
    } else if (name == L"GetSettings") {
      kel::nusdk::Sample::SampleSettings settings;
      const uint32_t code = sample_->GetSettings(settings);
      if (code == 0) output = ToJson(settings);
      method.SetResult(code);
    } else if (name == L"Emit") {
      JoinEmitter();
      const std::wstring event = Wide(input.get("name", ""));
      const Json::Value body = input.get("body", Json::Value());
      const uint32_t flags = input.get("flags", 0).asUInt();
      const auto delay = std::chrono::milliseconds(input.get("delayMs", 0).asUInt());
      EnterpriseIntegration::IManager* manager = manager_;
      emitter_ = std::thread([=] {
        std::this_thread::sleep_for(delay);
        manager->SendEvent(event.c_str(), &body, flags);
      });
      method.SetResult(0);
    } else if (name == L"Changed") {
      manager_->NotifyConfigurationChanged(input.get("what", 1).asUInt());
      method.SetResult(0);
    } else if (name == L"Log") {
      logging::Write(logging::kLevelFailure, L"Fake::Agent::RunPolicyMethod", L"Fake says %s",
                     Wide(input.get("message", "")).c_str());
      method.SetResult(0);
    } else if (name == L"Silent") {
      // The result is deliberately never reported.
    } else {
      method.SetResult(4317);
    }
  }

  static Json::Value ToJson(const kel::nusdk::Sample::SampleSettings& settings) {
    Json::Value out(Json::objectValue);
    out["enabled"] = settings.enabled != 0;
    out["name"] = kel::Utf8FromWide(settings.name.c_str(), settings.name.Length());
    out["level"] = settings.level;
    Json::Value servers(Json::arrayValue);
    for (const kel::StringW& server : settings.servers) {
      servers.append(kel::Utf8FromWide(server.c_str(), server.Length()));
    }
    out["servers"] = servers;
    return out;
  }

  uint32_t OnSettingsChanged(const kel::nusdk::Sample::SampleSettings& settings) override {
    try {
      if (manager_ == nullptr) return 0;
      const Json::Value body = ToJson(settings);
      manager_->SendEvent(kChangedEvent, &body, EnterpriseIntegration::kEventOrdinary);
    } catch (...) {
    }
    return 0;
  }

  void JoinEmitter() {
    if (emitter_.joinable()) emitter_.join();
  }

  void Release() {
    Stop();
    JoinEmitter();
    if (sample_ != nullptr) {
      if (advised_) sample_->Unadvise(this);
      advised_ = false;
      sample_ = nullptr;
      components_->ReleaseComponent(kel::nusdk::Sample::kComponentName);
    }
    if (manager_ != nullptr) {
      manager_ = nullptr;
      components_->ReleaseComponent(EnterpriseIntegration::kManagerComponentName);
    }
  }

  std::wstring name_;
  IComponentManager* components_ = nullptr;
  EnterpriseIntegration::IManager* manager_ = nullptr;
  kel::nusdk::Sample::ISample* sample_ = nullptr;
  bool advised_ = false;
  bool registered_ = false;
  std::thread emitter_;
  logging::LogHandle log_;  // keeps the logging binding for the agent's life
};

}  // namespace fake
