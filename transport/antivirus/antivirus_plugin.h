#pragma once
// The antivirus plug-in as an agent holds it: ServPlugin<IAntivirus>, here and
// in the transport agent.
#include "agent/serv_plugin.h"
#include "sdk/mailservers/antivirus.h"

namespace EnterpriseIntegration {

template <>
struct PluginTraits<kel::nusdk::MailServers::Antivirus::IAntivirus> {
  static constexpr const kel::InterfaceId& kIid =
      kel::nusdk::MailServers::Antivirus::IID_IAntivirus;
  static constexpr const wchar_t* kTypeName =
      L"struct kel::nusdk::MailServers::Antivirus::IAntivirus";
};

}  // namespace EnterpriseIntegration
