#pragma once
// The two quarantine plug-ins as the agent holds them.
#include "agent/serv_plugin.h"
#include "sdk/mailservers/quarantine.h"

namespace EnterpriseIntegration {

template <>
struct PluginTraits<kel::nusdk::MailServers::Quarantine::IQuarantine> {
  static constexpr const kel::InterfaceId& kIid =
      kel::nusdk::MailServers::Quarantine::IID_IQuarantine;
  static constexpr const wchar_t* kTypeName =
      L"struct kel::nusdk::MailServers::Quarantine::IQuarantine";
};

template <>
struct PluginTraits<kel::nusdk::MailServers::Quarantine::IReleaseEmail> {
  static constexpr const kel::InterfaceId& kIid =
      kel::nusdk::MailServers::Quarantine::IID_IReleaseEmail;
  static constexpr const wchar_t* kTypeName =
      L"struct kel::nusdk::MailServers::Quarantine::IReleaseEmail";
};

}  // namespace EnterpriseIntegration
