#pragma once
// Root of every interface the host receives from the module.
#include "sdk/interface_id.h"

// 66551ab3-fca3-bc90-5f42-c5f792e24b51: asked for by every KelCreateObject.
constexpr kel::InterfaceId IID_IKelBaseInterface{0xbc90fca366551ab3ull, 0x514be292f7c5425full};

class IKelBaseInterface {
 public:
  // Slot 0: the object's pointer for the given interface, or null when it has none.
  virtual void* QueryInterface(const kel::InterfaceId* iid) = 0;

 protected:
  // Objects are given back through their declaration, never deleted through this
  // interface; no virtual destructor keeps slot 0 the first and only base slot.
  ~IKelBaseInterface() = default;
};
