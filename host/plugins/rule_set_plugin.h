#pragma once
// The part every transport filter plug-in shares: it keeps the rule set it is
// given and answers it back, and it has no notifications. A filter with more
// to keep derives from it and adds its own operations.
#include <cstdint>
#include <mutex>
#include <string>

#include "frame/list.h"
#include "host/plugins/reference_plugin.h"
#include "sdk/kel_base_interface.h"

namespace kelhost {

// Copies a list through its slots, as a plug-in built elsewhere would; each
// element comes with its own members.
template <class T>
uint32_t CopyListSlots(kel::IList<T>& target, const kel::IList<T>& source) {
  kel::EnumPtr<kel::IConstListEnum<T>> e(source.NewConstEnum());
  if (!e) return kPluginInternalError;
  kel::List<T> copy;
  for (; e->HasCurrent(); e->Advance()) copy.EmplaceBack(*e->Current());
  target.RemoveAll();
  for (const T& item : copy) {
    if (const uint32_t code = target.AddBack(item)) return code;
  }
  return 0;
}

// Starts with an empty rule set, switched off.
template <class IPlugin, class RuleSet>
class RuleSetPlugin : public ReferencePlugin, public IPlugin {
 public:
  RuleSetPlugin(const wchar_t* component, const kel::InterfaceId& iid)
      : component_(component), iid_(iid) {}

  const wchar_t* ComponentName() const override { return component_; }
  void* Interface(const kel::InterfaceId& iid) override { return QueryInterface(&iid); }

  void* QueryInterface(const kel::InterfaceId* iid) override {
    if (iid == nullptr) return nullptr;
    if (*iid == IID_IKelBaseInterface || *iid == iid_) return static_cast<IPlugin*>(this);
    return nullptr;
  }

  uint32_t SetRules(const RuleSet& rules) override {
    if (const uint32_t code = Failure()) return code;
    try {
      RuleSet copy;
      copy.enabled = rules.enabled;
      if (const uint32_t code = CopyListSlots(copy.rules, rules.rules)) return code;
      std::lock_guard<std::mutex> lock(mutex_);
      rules_ = std::move(copy);
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t GetRules(RuleSet& rules) override {
    if (const uint32_t code = Failure()) return code;
    try {
      std::lock_guard<std::mutex> lock(mutex_);
      rules.enabled = rules_.enabled;
      return CopyListSlots(rules.rules, rules_.rules);
    } catch (...) {
      return kPluginInternalError;
    }
  }

  NotifyOutcome Notify(const std::string& notification, const Json::Value&) override {
    std::string component;
    for (const wchar_t* c = component_; *c; ++c) component += static_cast<char>(*c);
    return NotifyOutcome::Failed("unknown notification",
                                 component + " has no notification \"" + notification + "\"");
  }

 protected:
  std::mutex mutex_;  // guards the rule set and whatever a derived plug-in keeps

 private:
  const wchar_t* component_;
  kel::InterfaceId iid_;
  RuleSet rules_;
};

}  // namespace kelhost
