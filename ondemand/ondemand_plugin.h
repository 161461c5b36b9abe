#pragma once
// The on-demand plug-in as an agent holds it: ServPlugin<IOnDemand>.
#include "agent/serv_plugin.h"
#include "sdk/mailservers/ondemand.h"

namespace EnterpriseIntegration {

template <>
struct PluginTraits<kel::nusdk::MailServers::IOnDemand> {
  static constexpr const kel::InterfaceId& kIid = kel::nusdk::MailServers::IID_IOnDemand;
  static constexpr const wchar_t* kTypeName = L"struct kel::nusdk::MailServers::IOnDemand";
};

}  // namespace EnterpriseIntegration
