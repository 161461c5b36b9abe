#pragma once
// The groups plug-in as its agent holds it: ServPlugin<IGroups>.
#include "agent/serv_plugin.h"
#include "sdk/mailservers/groups.h"

namespace EnterpriseIntegration {

template <>
struct PluginTraits<kel::nusdk::MailServers::Groups::IGroups> {
  static constexpr const kel::InterfaceId& kIid = kel::nusdk::MailServers::Groups::IID_IGroups;
  static constexpr const wchar_t* kTypeName = L"struct kel::nusdk::MailServers::Groups::IGroups";
};

}  // namespace EnterpriseIntegration
