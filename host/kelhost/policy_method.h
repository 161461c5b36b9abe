#pragma once
// One policy-method call as the manager hands it to an agent. Flags make the
// accessors answer null, to reproduce the calls an agent must refuse.
#include <cstdint>
#include <string>

#include <json/value.h>

#include "sdk/policy_method.h"

namespace kelhost {

class PolicyMethod final : public IPolicyMethod {
 public:
  struct NullAccessors {
    bool policy = false;
    bool input = false;
    bool output = false;
  };

  // A method without a name (`hasName` false) answers null for its name.
  PolicyMethod(bool hasName, std::wstring name, std::wstring policyId, Json::Value input,
               NullAccessors nulls)
      : hasName_(hasName),
        name_(std::move(name)),
        policyId_(std::move(policyId)),
        input_(std::move(input)),
        nulls_(nulls) {}

  void* QueryInterface(const kel::InterfaceId* iid) override;
  const wchar_t* GetPolicyId() override { return nulls_.policy ? nullptr : policyId_.c_str(); }
  uint32_t GetResult() override { return result_; }
  const wchar_t* GetMethodName() override { return hasName_ ? name_.c_str() : nullptr; }
  const Json::Value* GetInput() override { return nulls_.input ? nullptr : &input_; }
  Json::Value* GetOutput() override { return nulls_.output ? nullptr : &output_; }
  void SetResult(uint32_t code) override {
    result_ = code;
    resultSet_ = true;
  }

  // Host side: whether the agent reported a result at all, and what it left.
  bool ResultSet() const { return resultSet_; }
  uint32_t Result() const { return result_; }
  const Json::Value& Output() const { return output_; }

 private:
  bool hasName_;
  std::wstring name_;
  std::wstring policyId_;
  Json::Value input_;
  Json::Value output_;  // null until the agent writes it
  NullAccessors nulls_;
  uint32_t result_ = 0;
  bool resultSet_ = false;
};

}  // namespace kelhost
