#pragma once
// The service host as an agent sees it at Init: the host object and its
// component manager, through which every plug-in and the manager are found.
#include <cstdint>

#include "sdk/kel_base_interface.h"

class IComponentManager {
 public:
  // Slot 0: the component `name` as interface `iid` through `object`; 0 on
  // success, else the host's error code (and `*object` untouched or null).
  virtual uint32_t GetComponent(const wchar_t* name, const kel::InterfaceId* iid,
                                void** object) = 0;
  // Slot 1: gives back a component obtained by name.
  virtual void ReleaseComponent(const wchar_t* name) = 0;

 protected:
  ~IComponentManager() = default;
};

class IServMain : public IKelBaseInterface {
 public:
  // Slot 1: the host's component manager; may be null.
  virtual IComponentManager* GetComponentManager() = 0;

 protected:
  ~IServMain() = default;
};
