#pragma once
// The process-wide map from class name to constructor behind the two exports.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "frame/critical_section.h"
#include "frame/object_constructor.h"
#include "frame/shared_instance.h"

class ObjectRegistry {
 public:
  // 0, or 183 (ERROR_ALREADY_EXISTS) when the name is taken: an existing entry
  // is never replaced, so a class declared twice keeps its first declaration.
  uint32_t Register(const wchar_t* name, IObjectConstructor* constructor);

  // Runs `fn(constructor)` under the registry lock with the constructor of
  // `name` (exact, case-sensitive match), or with null when there is none.
  // Create and destroy run inside the lock, which is what serialises a
  // singleton's instance pointer and count.
  // Every registered name, in order.
  std::vector<std::wstring> Names();

  template <class Fn>
  auto WithConstructor(const wchar_t* name, Fn&& fn) {
    kel::CriticalSectionLock lock(cs_);
    const auto found = name ? constructors_.find(name) : constructors_.end();
    return fn(found == constructors_.end() ? nullptr : found->second);
  }

 private:
  kel::CriticalSection cs_;
  std::map<std::wstring, IObjectConstructor*> constructors_;  // not owned
};

// A handle keeps the registry alive; the first creates it, the last deletes it.
using ObjectRegistryHandle = kel::SharedHandle<ObjectRegistry>;

// Registers under a short-lived handle; 1168 if the registry could not be created.
uint32_t RegisterObjectConstructor(const wchar_t* name, IObjectConstructor* constructor);
