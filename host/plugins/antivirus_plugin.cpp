// "MailServers.Antivirus": the antivirus plug-in (sdk/mailservers/antivirus.h).
// It keeps a footer per mail direction, the replacement texts and the rule set
// it is given, and answers them back; beside the global rule set it keeps one
// per on-demand task id. It has no notifications.
#include <map>
#include <memory>
#include <mutex>

#include "host/plugins/rule_set_plugin.h"
#include "sdk/mailservers/antivirus.h"

namespace kelhost {
namespace {

using kel::nusdk::MailServers::Antivirus::IAntivirus;
using kel::nusdk::MailServers::Antivirus::ReplacementTexts;
using kel::nusdk::MailServers::Antivirus::RuleSet;
using kel::nusdk::MailServers::Antivirus::TransportRuleSet;

struct Footer {
  uint8_t enabled = 0;
  kel::StringW text;
};

// Starts with every footer off and empty, stock replacement texts, and an
// empty rule set, switched off.
class AntivirusPlugin final : public RuleSetPlugin<IAntivirus, TransportRuleSet> {
 public:
  AntivirusPlugin()
      : RuleSetPlugin(kel::nusdk::MailServers::Antivirus::kComponentName,
                      kel::nusdk::MailServers::Antivirus::IID_IAntivirus) {
    texts_.scanned.replaced = L"An infected attachment was removed from this message.";
    texts_.scanned.quarantined = L"An infected attachment was moved to quarantine.";
    texts_.unscannable.replaced = L"An attachment that could not be scanned was removed.";
    texts_.unscannable.quarantined = L"An attachment that could not be scanned was quarantined.";
    texts_.moreInformation = L"Ask your administrator for details.";
  }

  uint32_t SetFooterEnabled(uint32_t directions, uint8_t enabled) override {
    if (const uint32_t code = Failure()) return code;
    if ((directions & ~kel::nusdk::MailServers::kTrafficAll) != 0) return kPluginBadArgument;
    std::lock_guard<std::mutex> lock(mutex_);
    for (int i = 0; i < kDirections; ++i) {
      if ((directions & (1u << i)) != 0) footers_[i].enabled = enabled != 0 ? 1 : 0;
    }
    return 0;
  }

  uint32_t IsFooterEnabled(uint32_t direction, uint8_t& enabled) override {
    if (const uint32_t code = Failure()) return code;
    const int index = IndexOf(direction);
    if (index < 0) return kPluginBadArgument;
    std::lock_guard<std::mutex> lock(mutex_);
    enabled = footers_[index].enabled;
    return 0;
  }

  uint32_t SetFooter(uint32_t directions, const kel::StringW& footer) override {
    if (const uint32_t code = Failure()) return code;
    if ((directions & ~kel::nusdk::MailServers::kTrafficAll) != 0) return kPluginBadArgument;
    try {
      const kel::StringW copy(footer.c_str(), footer.Length());
      std::lock_guard<std::mutex> lock(mutex_);
      for (int i = 0; i < kDirections; ++i) {
        if ((directions & (1u << i)) != 0) footers_[i].text = copy;
      }
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t GetFooter(uint32_t direction, kel::StringW& footer) override {
    if (const uint32_t code = Failure()) return code;
    const int index = IndexOf(direction);
    if (index < 0) return kPluginBadArgument;
    try {
      std::lock_guard<std::mutex> lock(mutex_);
      footer.Assign(footers_[index].text.c_str(), footers_[index].text.Length());
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t SetReplacementTexts(const ReplacementTexts& texts) override {
    if (const uint32_t code = Failure()) return code;
    try {
      ReplacementTexts copy;
      CopyTexts(copy, texts);
      std::lock_guard<std::mutex> lock(mutex_);
      texts_ = std::move(copy);
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t GetReplacementTexts(ReplacementTexts& texts) override {
    if (const uint32_t code = Failure()) return code;
    try {
      std::lock_guard<std::mutex> lock(mutex_);
      CopyTexts(texts, texts_);
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t SetTaskRules(const kel::Guid& taskId, const RuleSet& rules) override {
    if (const uint32_t code = Failure()) return code;
    try {
      RuleSet copy;
      copy.enabled = rules.enabled;
      if (const uint32_t code = CopyListSlots(copy.rules, rules.rules)) return code;
      std::lock_guard<std::mutex> lock(mutex_);
      taskRules_[taskId] = std::move(copy);
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t GetTaskRules(const kel::Guid& taskId, RuleSet& rules) override {
    if (const uint32_t code = Failure()) return code;
    try {
      std::lock_guard<std::mutex> lock(mutex_);
      auto found = taskRules_.find(taskId);
      if (found == taskRules_.end()) {
        rules.enabled = 0;
        rules.rules.RemoveAll();
        return 0;
      }
      rules.enabled = found->second.enabled;
      return CopyListSlots(rules.rules, found->second.rules);
    } catch (...) {
      return kPluginInternalError;
    }
  }

 private:
  static constexpr int kDirections = 3;  // incoming, outgoing, internal: bits 0 to 2

  // The footer slot of one direction, or -1 when `direction` is not exactly one.
  static int IndexOf(uint32_t direction) {
    for (int i = 0; i < kDirections; ++i) {
      if (direction == (1u << i)) return i;
    }
    return -1;
  }

  static void CopyText(kel::StringW& target, const kel::StringW& source) {
    target.Assign(source.c_str(), source.Length());
  }
  static void CopyTexts(ReplacementTexts& target, const ReplacementTexts& source) {
    CopyText(target.scanned.replaced, source.scanned.replaced);
    CopyText(target.scanned.quarantined, source.scanned.quarantined);
    CopyText(target.unscannable.replaced, source.unscannable.replaced);
    CopyText(target.unscannable.quarantined, source.unscannable.quarantined);
    CopyText(target.moreInformation, source.moreInformation);
  }

  Footer footers_[kDirections];
  ReplacementTexts texts_;
  std::map<kel::Guid, RuleSet> taskRules_;
};

}  // namespace

std::unique_ptr<ReferencePlugin> MakeAntivirusPlugin() {
  return std::make_unique<AntivirusPlugin>();
}

}  // namespace kelhost
