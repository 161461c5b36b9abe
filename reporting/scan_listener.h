#pragma once
// What both scan agents share: the plug-in "MailServers.OnAccess" held as
// IMailServers, and one Init that registers the agent's IScanNotifications
// face with it (a refusal fails Init, undone, with the plug-in's code). Stop
// unregisters the face; a Start after a Stop registers it again.
#include <cstdint>

#include "agent/agent.h"
#include "sdk/mailservers/mail_servers.h"

namespace EnterpriseIntegration {
template <>
struct PluginTraits<kel::nusdk::MailServers::IMailServers> {
  static constexpr const kel::InterfaceId& kIid = kel::nusdk::MailServers::IID_IMailServers;
  static constexpr const wchar_t* kTypeName = L"struct kel::nusdk::MailServers::IMailServers";
};
}  // namespace EnterpriseIntegration

namespace Reporting {

class ScanListener : public EnterpriseIntegration::Agent<kel::nusdk::MailServers::IMailServers>,
                     public kel::nusdk::MailServers::IScanNotifications {
 public:
  ScanListener(const wchar_t* agentName, const wchar_t* className);

  uint32_t Start() override;
  void Stop() override;

 protected:
  uint32_t OnPluginsAcquired() override;

  // The plug-in calls no notification once this returns. An agent whose
  // notifications use its own members calls it first in its destructor: the
  // registration, a member of this base, would otherwise outlive them.
  void UnregisterSink() noexcept;

 private:
  EnterpriseIntegration::NotificationRegistration sink_{*this};
};

}  // namespace Reporting
