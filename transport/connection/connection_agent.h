#pragma once
// The manager's handle on the SMTP connection filter: its master switch, and
// the sender black list with its own switch.
#include "agent/agent.h"
#include "transport/connection/connection_plugin.h"
#include "sdk/mailservers/connection.h"

namespace ConnectionFilter {

// The policy namespaces the agent answers to, reported in this order.
inline constexpr const wchar_t* kReportedNames[] = {
    L"MailServers.ConnectionFilter.SenderBlackList",
    L"MailServers.ConnectionFilter",
    L"MailServers.Connection",
};

class ConnectionAgent final
    : public EnterpriseIntegration::Agent<kel::nusdk::MailServers::Connection::IConnection> {
 public:
  ConnectionAgent();

  void ReportNames(INameSink* sink) override;

  // The handlers; each serves a long and a short method name.
  bool GetSenderBlackList(IPolicyMethod& method);
  bool SetSenderBlackList(IPolicyMethod& method);
  bool IsSenderBlackListEnabled(IPolicyMethod& method);
  bool SetSenderBlackListEnabled(IPolicyMethod& method);
  bool SetEnabled(IPolicyMethod& method);
  bool IsEnabled(IPolicyMethod& method);

  EnterpriseIntegration::PolicyMethodTable PolicyMethods() const override;

 private:
  using IConnection = kel::nusdk::MailServers::Connection::IConnection;

  bool SetSwitch(IPolicyMethod& method, uint32_t (IConnection::*set)(bool));
  bool ReadSwitch(IPolicyMethod& method, uint32_t (IConnection::*get)(bool&));
};

}  // namespace ConnectionFilter
