#pragma once
// In-process stand-ins for the host side of an agent: the host object, its
// component manager and a policy-method object. The manager is kelhost's own
// (host/kelhost/manager.h), included here for the tests that use these.
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <json/value.h>

#include "host/kelhost/manager.h"
#include "sdk/agent.h"
#include "sdk/policy_method.h"
#include "sdk/serv_main.h"

namespace kel::test {

class FakeComponentManager : public IComponentManager {
 public:
  void Offer(const std::wstring& name, const kel::InterfaceId& iid, void* object) {
    components_[name] = {iid, object};
  }

  uint32_t GetComponent(const wchar_t* name, const kel::InterfaceId* iid, void** object) override {
    auto c = components_.find(name);
    if (c == components_.end() || c->second.first != *iid) return 1168;
    *object = c->second.second;
    ++held[name];
    return 0;
  }
  void ReleaseComponent(const wchar_t* name) override { --held[name]; }

  std::map<std::wstring, int> held;

 private:
  std::map<std::wstring, std::pair<kel::InterfaceId, void*>> components_;
};

class FakeServMain : public IServMain {
 public:
  explicit FakeServMain(IComponentManager* components) : components_(components) {}
  void* QueryInterface(const kel::InterfaceId*) override { return nullptr; }
  IComponentManager* GetComponentManager() override { return components_; }

 private:
  IComponentManager* components_;
};

class FakePolicyMethod final : public IPolicyMethod {
 public:
  explicit FakePolicyMethod(std::wstring name, Json::Value input = Json::objectValue)
      : name_(std::move(name)), input_(std::move(input)) {}

  void* QueryInterface(const kel::InterfaceId*) override { return nullptr; }
  const wchar_t* GetPolicyId() override { return L"policy-1"; }
  uint32_t GetResult() override { return result; }
  const wchar_t* GetMethodName() override { return nullName ? nullptr : name_.c_str(); }
  const Json::Value* GetInput() override { return &input_; }
  Json::Value* GetOutput() override { return &output; }
  void SetResult(uint32_t code) override {
    result = code;
    ++resultsSet;
  }

  bool nullName = false;
  uint32_t result = 0xFFFFFFFF;  // "never set"
  int resultsSet = 0;
  Json::Value output;

 private:
  std::wstring name_;
  Json::Value input_;
};

}  // namespace kel::test
