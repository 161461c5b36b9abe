// The module's creatable classes, one static declaration each, in the order
// they register at start-up. One translation unit keeps that order defined.
#include "frame/exported_declaration.h"
#include "sysinfo/sysinfo_agent.h"
#include "transport/antispam/antispam_agent.h"
#include "transport/antivirus/antivirus_agent.h"
#include "transport/attachment/attachment_agent.h"
#include "transport/connection/connection_agent.h"
#include "transport/content/content_agent.h"
#include "transport/domaincheck/domaincheck_agent.h"
#include "transport/transport_agent.h"

namespace {
ExportedSingletonDeclaration<Antispam::Agent> g_antispam(L"MailServers.Antispam");
ExportedSingletonDeclaration<Antivirus::Agent> g_antivirus(L"MailServers.Antivirus");
ExportedSingletonDeclaration<Attachment::Agent> g_attachment(L"MailServers.Attachment");
ExportedSingletonDeclaration<ConnectionFilter::ConnectionAgent> g_connection(
    L"MailServers.Connection");
ExportedSingletonDeclaration<Content::Agent> g_content(L"MailServers.Content");
ExportedSingletonDeclaration<DomainCheck::Agent> g_domainCheck(L"MailServers.DomainCheck");
ExportedSingletonDeclaration<Transport::Agent> g_transport(L"MailServers.Transport");
ExportedSingletonDeclaration<SystemInfo::Agent> g_systemInfo(L"MailServers.SystemInfo");
}  // namespace
