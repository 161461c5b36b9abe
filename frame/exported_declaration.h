#pragma once
// Static declarations through which each class of the module registers itself.
// One object per class lives for the module's life and keeps a handle on the
// registry; the host reaches it through KelCreateObject / KelDestroyObject.
#include <cstdint>
#include <string>
#include <type_traits>

#include "frame/object_registry.h"

namespace kel {

// A class registered under a whole literal rather than "<agent name>.Agent".
struct WholeClassName {
  const wchar_t* name;
};

namespace detail {

// A declaration by agent name builds with that name; one by a whole literal
// builds with the class's own default constructor (the class names itself).
// The declarations' constructors make the other combinations compile errors.
template <class T>
T* MakeDeclared(const wchar_t* agentName) {
  if constexpr (std::is_constructible_v<T, const wchar_t*>) {
    if (agentName) return new T(agentName);
  }
  if constexpr (std::is_default_constructible_v<T>) return new T();
  return nullptr;
}

template <class T>
constexpr bool kNamesItself = std::is_default_constructible_v<T>;
template <class T>
constexpr bool kTakesAgentName = std::is_constructible_v<T, const wchar_t*>;

inline IKelBaseInterface* BaseOf(IKelBaseInterface* object) {
  return object ? static_cast<IKelBaseInterface*>(object->QueryInterface(&IID_IKelBaseInterface))
                : nullptr;
}

}  // namespace detail
}  // namespace kel

// One shared instance, created by the first create and destroyed when the
// count of creates not yet given back falls to zero.
template <class T>
class ExportedSingletonDeclaration final : public IObjectConstructor {
 public:
  // Registered as agentName + ".Agent"; the instance is built with agentName.
  explicit ExportedSingletonDeclaration(const wchar_t* agentName)
      : name_(std::wstring(agentName) + L".Agent"), agentName_(agentName) {
    static_assert(kel::detail::kTakesAgentName<T> || kel::detail::kNamesItself<T>,
                  "a registered class is built with its agent name or names itself");
    registration_ = RegisterObjectConstructor(name_.c_str(), this);
  }
  // Without an agent name to give, the class must name itself.
  explicit ExportedSingletonDeclaration(kel::WholeClassName whole)
      : name_(whole.name), wholeName_(true) {
    static_assert(kel::detail::kNamesItself<T>,
                  "a class registered under a whole literal name needs a default constructor "
                  "that gives it its own agent name");
    registration_ = RegisterObjectConstructor(name_.c_str(), this);
  }

  IKelBaseInterface* Create() override {
    if (!instance_) {
      try {
        instance_ = kel::detail::MakeDeclared<T>(wholeName_ ? nullptr : agentName_.c_str());
      } catch (...) {
        return nullptr;
      }
    }
    ++count_;
    return kel::detail::BaseOf(instance_);
  }

  // The pointer given back is not examined: every create returned the same object.
  void Destroy(IKelBaseInterface*) override {
    if (count_ == 0) return;
    if (--count_ == 0) {
      T* doomed = instance_;
      instance_ = nullptr;
      delete doomed;
    }
  }

  const std::wstring& name() const { return name_; }
  uint32_t registration() const { return registration_; }  // 183 for a duplicate

 private:
  std::wstring name_;
  std::wstring agentName_;
  bool wholeName_ = false;
  T* instance_ = nullptr;
  uint32_t count_ = 0;
  uint32_t registration_ = 0;
  ObjectRegistryHandle registry_;  // constructed before the body registers
};

// A new object for every create, owned by the caller until given back.
template <class T>
class ExportedObjectDeclaration final : public IObjectConstructor {
 public:
  explicit ExportedObjectDeclaration(kel::WholeClassName whole) : name_(whole.name) {
    static_assert(kel::detail::kNamesItself<T>,
                  "a class registered under a whole literal name needs a default constructor "
                  "that gives it its own agent name");
    registration_ = RegisterObjectConstructor(name_.c_str(), this);
  }

  IKelBaseInterface* Create() override {
    try {
      T* object = kel::detail::MakeDeclared<T>(nullptr);
      IKelBaseInterface* base = kel::detail::BaseOf(object);
      if (!base) delete object;
      return base;
    } catch (...) {
      return nullptr;
    }
  }

  // A pointer that is not one of ours is ignored rather than freed.
  void Destroy(IKelBaseInterface* object) override { delete dynamic_cast<T*>(object); }

  const std::wstring& name() const { return name_; }
  uint32_t registration() const { return registration_; }

 private:
  std::wstring name_;
  uint32_t registration_ = 0;
  ObjectRegistryHandle registry_;
};
