#pragma once
// The connection-filter plug-in as its agent holds it: ServPlugin<IConnection>.
#include "agent/serv_plugin.h"
#include "sdk/mailservers/connection.h"

namespace EnterpriseIntegration {

template <>
struct PluginTraits<kel::nusdk::MailServers::Connection::IConnection> {
  static constexpr const kel::InterfaceId& kIid =
      kel::nusdk::MailServers::Connection::IID_IConnection;
  static constexpr const wchar_t* kTypeName =
      L"struct kel::nusdk::MailServers::Connection::IConnection";
};

}  // namespace EnterpriseIntegration
