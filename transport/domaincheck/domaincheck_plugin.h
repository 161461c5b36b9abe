#pragma once
// The domain-check plug-in as an agent holds it: ServPlugin<IDomainCheck>,
// here and in the transport agent.
#include "agent/serv_plugin.h"
#include "sdk/mailservers/domaincheck.h"

namespace EnterpriseIntegration {

template <>
struct PluginTraits<kel::nusdk::MailServers::DomainCheck::IDomainCheck> {
  static constexpr const kel::InterfaceId& kIid =
      kel::nusdk::MailServers::DomainCheck::IID_IDomainCheck;
  static constexpr const wchar_t* kTypeName =
      L"struct kel::nusdk::MailServers::DomainCheck::IDomainCheck";
};

}  // namespace EnterpriseIntegration
