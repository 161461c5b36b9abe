#pragma once
// The name tables of quarantine documents.
#include "agent/json/json_enum.h"
#include "agent/scan_status_names.h"
#include "sdk/mailservers/quarantine.h"

namespace QuarantineAgent {

namespace q = kel::nusdk::MailServers::Quarantine;

inline constexpr auto kZoneNames = EnterpriseIntegration::EnumNames({
    {q::kZoneEmails, "emails"},
    {q::kZoneFiles, "files"},
});

inline constexpr auto kLocationNames = EnterpriseIntegration::EnumNames({
    {q::kLocationTransport, "Transport"},
    {q::kLocationOnDemand, "OnDemand"},
});

inline constexpr auto kModuleNames = EnterpriseIntegration::EnumNames({
    {q::kModuleAntivirus, "Antivirus"},
    {q::kModuleAntispam, "Antispam"},
    {q::kModuleContent, "Content"},
    {q::kModuleAttachment, "Attachment"},
    {q::kModuleDomainCheck, "DomainCheck"},
});

inline constexpr auto kReasonNames = EnterpriseIntegration::EnumNames({
    {q::kReasonDetected, "detected"},
    {q::kReasonUnscannable, "unscannable"},
    {q::kReasonDetectedWithoutScan, "detectedWithoutScan"},
});

// The scan status flags: EnterpriseIntegration::kScanStatusNames
// (agent/scan_status_names.h), shared with the item scan events.

}  // namespace QuarantineAgent
