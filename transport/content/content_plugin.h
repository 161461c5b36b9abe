#pragma once
// The content plug-in as an agent holds it: ServPlugin<IContent>, here and in
// the transport agent.
#include "agent/serv_plugin.h"
#include "sdk/mailservers/content.h"

namespace EnterpriseIntegration {

template <>
struct PluginTraits<kel::nusdk::MailServers::Content::IContent> {
  static constexpr const kel::InterfaceId& kIid = kel::nusdk::MailServers::Content::IID_IContent;
  static constexpr const wchar_t* kTypeName = L"struct kel::nusdk::MailServers::Content::IContent";
};

}  // namespace EnterpriseIntegration
