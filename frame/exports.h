#pragma once
// The module's only two exports (undecorated, through module.def).
#include <cstdint>

#include "sdk/kel_base_interface.h"

extern "C" {

// Creates (or takes a reference on) the object registered as `className` and
// answers its interface `iid` through `object`. 0 on success; 1168 when the
// name is unknown or the object cannot be made or lacks the interface; 160 for
// null arguments. `*object` is null on every failure.
uint32_t KelCreateObject(const wchar_t* className, const kel::InterfaceId* iid, void** object);

// Gives back an object that KelCreateObject made under the same name. An
// unknown name is ignored.
void KelDestroyObject(const wchar_t* className, void* object);

using KelCreateObjectFn = uint32_t (*)(const wchar_t*, const kel::InterfaceId*, void**);
using KelDestroyObjectFn = void (*)(const wchar_t*, void*);
}
