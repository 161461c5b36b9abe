#pragma once
#include "sdk/kel_base_interface.h"

// What the object registry keeps per class name. Slot order is a contract
// between the registry and every declaration: create, destroy, destructor.
class IObjectConstructor {
 public:
  // A new reference on the object (null on failure); never throws.
  virtual IKelBaseInterface* Create() = 0;
  // Gives back what Create returned; never throws.
  virtual void Destroy(IKelBaseInterface* object) = 0;
  virtual ~IObjectConstructor() = default;
};
