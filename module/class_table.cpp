// The module's creatable classes, one static declaration each, in the order
// they register at start-up. One translation unit keeps that order defined.
#include "frame/exported_declaration.h"
#include "quarantine/quarantine_agent.h"
#include "groups/groups_agent.h"
#include "ondemand/kel_ondemand_agent.h"
#include "ondemand/ondemand_agent.h"
#include "reporting/scanner_agent.h"
#include "reporting/statistics_agent.h"
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
ExportedSingletonDeclaration<QuarantineAgent::Agent> g_quarantine(L"MailServers.Quarantine");
ExportedSingletonDeclaration<GroupsManagerAgent::Agent> g_groups(L"MailServers.Groups");
ExportedSingletonDeclaration<Transport::Agent> g_transport(L"MailServers.Transport");
ExportedObjectDeclaration<MailServers::KelOnDemandAgent> g_kelOnDemand(
    kel::WholeClassName{MailServers::kKelOnDemandClassName});
// Declared twice, as the host has always seen it: the second registration is
// refused (183) and ignored, so the first serves every create.
ExportedSingletonDeclaration<MailServers::OnDemandAgent> g_onDemand(MailServers::kOnDemandAgentName);
ExportedSingletonDeclaration<MailServers::OnDemandAgent> g_onDemandAgain(
    MailServers::kOnDemandAgentName);
ExportedSingletonDeclaration<kel::nusdk::MailServers::ScannerAgent> g_scanner(
    L"MailServers.Scanner");
ExportedSingletonDeclaration<kel::MailServers::kelScannerAgent> g_statistics(
    L"kel.MailServers.Scanner");
ExportedSingletonDeclaration<SystemInfo::Agent> g_systemInfo(L"MailServers.SystemInfo");
}  // namespace
