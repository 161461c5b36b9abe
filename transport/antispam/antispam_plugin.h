#pragma once
// The antispam plug-in as an agent holds it: ServPlugin<IAntispam>, here and
// in the transport agent.
#include "agent/serv_plugin.h"
#include "sdk/mailservers/antispam.h"

namespace EnterpriseIntegration {

template <>
struct PluginTraits<kel::nusdk::MailServers::Antispam::IAntispam> {
  static constexpr const kel::InterfaceId& kIid = kel::nusdk::MailServers::Antispam::IID_IAntispam;
  static constexpr const wchar_t* kTypeName =
      L"struct kel::nusdk::MailServers::Antispam::IAntispam";
};

}  // namespace EnterpriseIntegration
