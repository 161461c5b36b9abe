#pragma once
// One notification sink registered with a plug-in, owned like a handle: it
// unregisters itself when reset or destroyed, so no agent has to remember to.
//
// An agent declares one per sink as a member, after the members the sink's
// callbacks use (members are destroyed in reverse order, so the sink is gone
// from the plug-in before anything it touches), and registers it from
// AgentBase::OnPluginsAcquired. The agent resets every registration before
// it gives its plug-ins back: at Uninit, at a failed Init and before a
// re-Init gets them afresh.
#include <cstdint>
#include <functional>
#include <utility>

namespace EnterpriseIntegration {

class AgentBase;

class NotificationRegistration {
 public:
  explicit NotificationRegistration(AgentBase& agent);
  ~NotificationRegistration();
  NotificationRegistration(const NotificationRegistration&) = delete;
  NotificationRegistration& operator=(const NotificationRegistration&) = delete;

  // Registers `sink` through `subscribe`; on success, Reset() will call
  // `unsubscribe` with it. A registration already held is reset first.
  template <class Plugin, class Sink, class Undo>
  uint32_t Register(Plugin* plugin, uint32_t (Plugin::*subscribe)(Sink*),
                    Undo (Plugin::*unsubscribe)(Sink*), Sink* sink) {
    Reset();
    if (!plugin) return kNoPlugin;
    const uint32_t code = (plugin->*subscribe)(sink);
    if (code == 0) undo_ = [plugin, unsubscribe, sink] { (plugin->*unsubscribe)(sink); };
    return code;
  }

  // The same for a plug-in whose registration takes more than the sink:
  // `subscribe()` answers a code, and `unsubscribe()` is kept for Reset().
  template <class Subscribe, class Unsubscribe>
  uint32_t RegisterWith(Subscribe subscribe, Unsubscribe unsubscribe) {
    Reset();
    const uint32_t code = subscribe();
    if (code == 0) undo_ = std::move(unsubscribe);
    return code;
  }

  // Unregisters if registered; never throws.
  void Reset() noexcept;
  bool active() const noexcept { return static_cast<bool>(undo_); }

 private:
  static constexpr uint32_t kNoPlugin = 21;

  AgentBase& agent_;
  std::function<void()> undo_;
};

}  // namespace EnterpriseIntegration
