#include "frame/object_registry.h"

#include <exception>

#include "frame/result_codes.h"

namespace {
constexpr uint32_t kAlreadyExists = kel::result::kAlreadyExists;
constexpr uint32_t kNotFound = kel::result::kNotFound;
}  // namespace

uint32_t ObjectRegistry::Register(const wchar_t* name, IObjectConstructor* constructor) {
  if (!name || !constructor) return kNotFound;
  kel::CriticalSectionLock lock(cs_);
  try {
    return constructors_.emplace(name, constructor).second ? 0 : kAlreadyExists;
  } catch (const std::exception&) {
    return kNotFound;
  }
}

std::vector<std::wstring> ObjectRegistry::Names() {
  kel::CriticalSectionLock lock(cs_);
  std::vector<std::wstring> names;
  names.reserve(constructors_.size());
  for (const auto& entry : constructors_) names.push_back(entry.first);
  return names;
}

uint32_t RegisterObjectConstructor(const wchar_t* name, IObjectConstructor* constructor) {
  ObjectRegistryHandle registry;
  return registry.get() ? registry->Register(name, constructor) : kNotFound;
}
