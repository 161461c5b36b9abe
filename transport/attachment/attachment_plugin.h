#pragma once
// The attachment plug-in as an agent holds it: ServPlugin<IAttachment>, here
// and in the transport agent.
#include "agent/serv_plugin.h"
#include "sdk/mailservers/attachment.h"

namespace EnterpriseIntegration {

template <>
struct PluginTraits<kel::nusdk::MailServers::Attachment::IAttachment> {
  static constexpr const kel::InterfaceId& kIid =
      kel::nusdk::MailServers::Attachment::IID_IAttachment;
  static constexpr const wchar_t* kTypeName =
      L"struct kel::nusdk::MailServers::Attachment::IAttachment";
};

}  // namespace EnterpriseIntegration
