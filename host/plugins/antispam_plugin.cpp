// "MailServers.Antispam": the antispam filter (sdk/mailservers/antispam.h). It
// keeps the rule set and the RBL settings it is given and answers them back;
// it has no notifications.
#include <memory>
#include <mutex>

#include "host/plugins/rule_set_plugin.h"
#include "sdk/mailservers/antispam.h"

namespace kelhost {
namespace {

using kel::nusdk::MailServers::Antispam::IAntispam;
using kel::nusdk::MailServers::Antispam::RuleSet;
using RBLSettings = IAntispam::RBLSettings;

uint32_t CopySettings(RBLSettings& target, const RBLSettings& source) {
  target.dnsTimeout = source.dnsTimeout;
  target.skipSystemServers = source.skipSystemServers;
  target.dnsAddress = source.dnsAddress;
  return CopyListSlots(target.servers, source.servers);
}

// Starts with an empty rule set, switched off, and the RBL defaults.
class AntispamPlugin final : public RuleSetPlugin<IAntispam, RuleSet> {
 public:
  AntispamPlugin()
      : RuleSetPlugin(kel::nusdk::MailServers::Antispam::kComponentName,
                      kel::nusdk::MailServers::Antispam::IID_IAntispam) {}

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

 private:
  RBLSettings settings_;
};

}  // namespace

std::unique_ptr<ReferencePlugin> MakeAntispamPlugin() { return std::make_unique<AntispamPlugin>(); }

}  // namespace kelhost
