#pragma once
// The module's two exports (undecorated, through module.def), and one for
// tooling.
#include <cstdint>

#include "frame/schema_source.h"
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

// Internal, for kelhost and the build's schema documents; the service host
// never calls it and nothing it does depends on it. For the class
// `className`, or for every registered class in name order when it is null:
// makes an object as KelCreateObject would, calls `visit` with the class
// name and the object's ISchemaSource (null when it has none), and gives the
// object back. 0; 1168 for an unknown name; 160 without `visit`. Nothing
// thrown by `visit` leaves it.
using KelSchemaVisitor = void (*)(const wchar_t* className, ISchemaSource* source, void* context);
uint32_t KelDescribeClasses(const wchar_t* className, KelSchemaVisitor visit, void* context);

using KelCreateObjectFn = uint32_t (*)(const wchar_t*, const kel::InterfaceId*, void**);
using KelDestroyObjectFn = void (*)(const wchar_t*, void*);
using KelDescribeClassesFn = uint32_t (*)(const wchar_t*, KelSchemaVisitor, void*);
}
