// The two exports are walls: they validate, catch everything, and undo a
// half-made creation, so nothing but a result code reaches the host.
#include "frame/exports.h"

#include "frame/object_registry.h"
#include "frame/result_codes.h"

#include <string>
#include <vector>

namespace {

constexpr uint32_t kBadArguments = kel::result::kBadArguments;
constexpr uint32_t kNotFound = kel::result::kNotFound;

IKelBaseInterface* CreateRegistered(const wchar_t* className) {
  ObjectRegistryHandle registry;
  if (!registry.get()) return nullptr;
  return registry->WithConstructor(className, [](IObjectConstructor* constructor) {
    return constructor ? constructor->Create() : nullptr;
  });
}

void DestroyRegistered(const wchar_t* className, IKelBaseInterface* object) {
  ObjectRegistryHandle registry;
  if (!registry.get()) return;
  registry->WithConstructor(className, [object](IObjectConstructor* constructor) {
    if (constructor) constructor->Destroy(object);
    return 0;
  });
}

}  // namespace

extern "C" uint32_t KelCreateObject(const wchar_t* className, const kel::InterfaceId* iid,
                                    void** object) {
  if (object) *object = nullptr;
  if (!className || !iid || !object) return kBadArguments;
  IKelBaseInterface* created = nullptr;
  try {
    const kel::InterfaceId wanted = *iid;  // the caller's memory is read once
    created = CreateRegistered(className);
    if (!created) return kNotFound;
    if (void* answer = created->QueryInterface(&wanted)) {
      *object = answer;
      return 0;
    }
  } catch (...) {
  }
  // An interface we do not have: give the creation back so a singleton's count
  // is what it was before the call.
  if (created) {
    try {
      DestroyRegistered(className, created);
    } catch (...) {
    }
  }
  return kNotFound;
}

extern "C" void KelDestroyObject(const wchar_t* className, void* object) {
  if (!className) return;
  try {
    DestroyRegistered(className, static_cast<IKelBaseInterface*>(object));
  } catch (...) {
  }
}

namespace {

void DescribeOne(const wchar_t* className, KelSchemaVisitor visit, void* context) {
  IKelBaseInterface* created = CreateRegistered(className);
  ISchemaSource* source =
      created ? static_cast<ISchemaSource*>(created->QueryInterface(&IID_ISchemaSource)) : nullptr;
  try {
    visit(className, source, context);
  } catch (...) {
  }
  if (created) DestroyRegistered(className, created);
}

}  // namespace

extern "C" uint32_t KelDescribeClasses(const wchar_t* className, KelSchemaVisitor visit,
                                       void* context) {
  if (!visit) return kBadArguments;
  try {
    ObjectRegistryHandle registry;
    if (!registry.get()) return kNotFound;
    std::vector<std::wstring> names;
    if (className) {
      const bool known = registry->WithConstructor(
          className, [](IObjectConstructor* constructor) { return constructor != nullptr; });
      if (!known) return kNotFound;
      names.emplace_back(className);
    } else {
      names = registry->Names();
    }
    for (const std::wstring& name : names) DescribeOne(name.c_str(), visit, context);
    return 0;
  } catch (...) {
    return kel::result::kInternalError;
  }
}
