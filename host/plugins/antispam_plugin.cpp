// "MailServers.Antispam": the antispam filter (sdk/mailservers/antispam.h). It
// keeps the rule set and the RBL settings it is given and answers them back;
// it has no notifications.
#include <memory>
#include <mutex>

#include "host/plugins/reference_plugin.h"
#include "sdk/kel_base_interface.h"
#include "sdk/mailservers/antispam.h"

namespace kelhost {
namespace {

using kel::nusdk::MailServers::Antispam::IAntispam;
using kel::nusdk::MailServers::Antispam::RuleSet;
using RBLSettings = IAntispam::RBLSettings;

// Copies a list through its slots, as a plug-in built elsewhere does; each
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

uint32_t CopySettings(RBLSettings& target, const RBLSettings& source) {
  target.dnsTimeout = source.dnsTimeout;
  target.skipSystemServers = source.skipSystemServers;
  target.dnsAddress = source.dnsAddress;
  return CopyListSlots(target.servers, source.servers);
}

// Starts with an empty rule set, switched off, and the RBL defaults.
class AntispamPlugin final : public ReferencePlugin, public IAntispam {
 public:
  const wchar_t* ComponentName() const override {
    return kel::nusdk::MailServers::Antispam::kComponentName;
  }

  void* Interface(const kel::InterfaceId& iid) override { return QueryInterface(&iid); }

  void* QueryInterface(const kel::InterfaceId* iid) override {
    if (iid == nullptr) return nullptr;
    if (*iid == IID_IKelBaseInterface || *iid == kel::nusdk::MailServers::Antispam::IID_IAntispam) {
      return static_cast<IAntispam*>(this);
    }
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

  uint32_t SetRBLSettings(const RBLSettings& settings) override {
    if (const uint32_t code = Failure()) return code;
    try {
      RBLSettings copy;
      if (const uint32_t code = CopySettings(copy, settings)) return code;
      std::lock_guard<std::mutex> lock(mutex_);
      settings_ = std::move(copy);
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t GetRBLSettings(RBLSettings& settings) override {
    if (const uint32_t code = Failure()) return code;
    try {
      std::lock_guard<std::mutex> lock(mutex_);
      return CopySettings(settings, settings_);
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
    return NotifyOutcome::Failed(
        "unknown notification",
        "MailServers.Antispam has no notification \"" + notification + "\"");
  }

 private:
  std::mutex mutex_;
  RuleSet rules_;
  RBLSettings settings_;
};

}  // namespace

std::unique_ptr<ReferencePlugin> MakeAntispamPlugin() { return std::make_unique<AntispamPlugin>(); }

}  // namespace kelhost
