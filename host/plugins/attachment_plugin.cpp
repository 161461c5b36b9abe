// "MailServers.Attachment": the attachment filter (sdk/mailservers/attachment.h). It
// keeps the rule set it is given and answers it back; it has no notifications.
#include <memory>
#include <mutex>

#include "host/plugins/reference_plugin.h"
#include "sdk/kel_base_interface.h"
#include "sdk/mailservers/attachment.h"

namespace kelhost {
namespace {

using kel::nusdk::MailServers::Attachment::IAttachment;
using kel::nusdk::MailServers::Attachment::RuleSet;

// Copies the rules through the list slots, as a plug-in built elsewhere does;
// each rule comes with its own lists.
uint32_t CopyRules(kel::IList<RuleSet::Rule>& target, const kel::IList<RuleSet::Rule>& source) {
  kel::EnumPtr<kel::IConstListEnum<RuleSet::Rule>> e(source.NewConstEnum());
  if (!e) return kPluginInternalError;
  kel::List<RuleSet::Rule> copy;
  for (; e->HasCurrent(); e->Advance()) copy.EmplaceBack(*e->Current());
  target.RemoveAll();
  for (const RuleSet::Rule& rule : copy) {
    if (const uint32_t code = target.AddBack(rule)) return code;
  }
  return 0;
}

// Starts with an empty rule set, switched off.
class AttachmentPlugin final : public ReferencePlugin, public IAttachment {
 public:
  const wchar_t* ComponentName() const override {
    return kel::nusdk::MailServers::Attachment::kComponentName;
  }

  void* Interface(const kel::InterfaceId& iid) override { return QueryInterface(&iid); }

  void* QueryInterface(const kel::InterfaceId* iid) override {
    if (iid == nullptr) return nullptr;
    if (*iid == IID_IKelBaseInterface ||
        *iid == kel::nusdk::MailServers::Attachment::IID_IAttachment) {
      return static_cast<IAttachment*>(this);
    }
    return nullptr;
  }

  uint32_t SetRules(const RuleSet& rules) override {
    if (const uint32_t code = Failure()) return code;
    try {
      RuleSet copy;
      copy.enabled = rules.enabled;
      if (const uint32_t code = CopyRules(copy.rules, rules.rules)) return code;
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
      return CopyRules(rules.rules, rules_.rules);
    } catch (...) {
      return kPluginInternalError;
    }
  }

  NotifyOutcome Notify(const std::string& notification, const Json::Value&) override {
    return NotifyOutcome::Failed(
        "unknown notification",
        "MailServers.Attachment has no notification \"" + notification + "\"");
  }

 private:
  std::mutex mutex_;
  RuleSet rules_;
};

}  // namespace

std::unique_ptr<ReferencePlugin> MakeAttachmentPlugin() {
  return std::make_unique<AttachmentPlugin>();
}

}  // namespace kelhost
