#pragma once
// Interfaces through which the registry tests observe the objects that the test
// module creates behind the real exports.
#include "sdk/kel_base_interface.h"

constexpr kel::InterfaceId IID_IRegistryProbe{0x1111222233334444ull, 0x5555666677778888ull};
constexpr kel::InterfaceId IID_IRegistryStats{0x9999aaaabbbbccccull, 0xddddeeeeffff0000ull};

enum ProbeKind { kCounted, kImpostor, kPerCall, kKindCount };

class IRegistryProbe : public IKelBaseInterface {
 public:
  virtual int Serial() = 0;  // unique per constructed object
  virtual int Kind() = 0;
  virtual const wchar_t* AgentName() = 0;

 protected:
  ~IRegistryProbe() = default;
};

class IRegistryStats : public IKelBaseInterface {
 public:
  virtual int Live(int kind) = 0;
  virtual int DuplicateRegistrationResult() = 0;

 protected:
  ~IRegistryStats() = default;
};
