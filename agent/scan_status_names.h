#pragma once
// The scan status flags of a scanned file, one table for the item scan events
// and the quarantine's item documents: both must name a status the same way.
#include "agent/json/json_enum.h"

namespace kel::nusdk::MailServers {

inline constexpr uint32_t kScanStatusClean = 1;
inline constexpr uint32_t kScanStatusInfected = 2;
inline constexpr uint32_t kScanStatusSuspect = 4;
inline constexpr uint32_t kScanStatusPasswordProtected = 8;
inline constexpr uint32_t kScanStatusDeleteAfterReboot = 16;
inline constexpr uint32_t kScanStatusMoveAfterReboot = 32;
inline constexpr uint32_t kScanStatusScanFailed = 0x40000000;

}  // namespace kel::nusdk::MailServers

namespace EnterpriseIntegration {

// Written as an array of the names of the set flags, in ascending code order.
inline constexpr auto kScanStatusNames = FlagNames({
    {kel::nusdk::MailServers::kScanStatusClean, "clean"},
    {kel::nusdk::MailServers::kScanStatusInfected, "infected"},
    {kel::nusdk::MailServers::kScanStatusSuspect, "suspect"},
    {kel::nusdk::MailServers::kScanStatusPasswordProtected, "passwordProtected"},
    {kel::nusdk::MailServers::kScanStatusDeleteAfterReboot, "deleteAfterReboot"},
    {kel::nusdk::MailServers::kScanStatusMoveAfterReboot, "moveAfterReboot"},
    {kel::nusdk::MailServers::kScanStatusScanFailed, "scanFailed"},
});

}  // namespace EnterpriseIntegration
