#include "agent/notification_registration.h"

#include "agent/agent_base.h"

namespace EnterpriseIntegration {

NotificationRegistration::NotificationRegistration(AgentBase& agent) : agent_(agent) {
  agent_.Enlist(*this);
}

NotificationRegistration::~NotificationRegistration() {
  Reset();
  agent_.Delist(*this);
}

void NotificationRegistration::Reset() noexcept {
  if (!undo_) return;
  std::function<void()> undo = std::move(undo_);
  undo_ = nullptr;
  try {
    undo();
  } catch (...) {
    // A plug-in that throws while letting go of a sink has nowhere to report to.
  }
}

}  // namespace EnterpriseIntegration
