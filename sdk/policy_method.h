#pragma once
// One call of a policy method, supplied by the manager for the length of the call.
#include <cstdint>

#include <json/value.h>

#include "sdk/kel_base_interface.h"

class IPolicyMethod : public IKelBaseInterface {
 public:
  // Slot 1: the policy the method belongs to; a call without one is invalid.
  virtual const wchar_t* GetPolicyId() = 0;
  // Slot 2: the result code set so far (0 until SetResult).
  virtual uint32_t GetResult() = 0;
  // Slot 3: the method name, possibly prefixed with the agent name; may be null.
  virtual const wchar_t* GetMethodName() = 0;
  // Slot 4: the input document; owned by the manager, read-only for the agent.
  virtual const Json::Value* GetInput() = 0;
  // Slot 5: the output document that a getter fills.
  virtual Json::Value* GetOutput() = 0;
  // Slot 6: the call's result, a Win32 error code (0 for success).
  virtual void SetResult(uint32_t code) = 0;

 protected:
  ~IPolicyMethod() = default;
};
