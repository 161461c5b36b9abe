#pragma once
// The code-to-name tables of scan results. A code missing from its table has
// no name: the key it would fill is left out of the document.
#include <cstdint>

#include "agent/json/json_enum.h"
#include "transport/antivirus/antivirus_schema.h"
#include "transport/attachment/attachment_schema.h"
#include "transport/content/content_schema.h"
#include "transport/domaincheck/domaincheck_schema.h"
#include "transport/rule_schema.h"

namespace Reporting {

using EnterpriseIntegration::EnumNames;

// The overall action of every module, and antivirus rules' file actions: the
// antivirus filter's own action table, so a rule and its result name an
// action alike.
inline constexpr const auto& kFileActionNames = EnterpriseIntegration::antivirus::kActionNames;

inline constexpr int32_t kEmailActionDeliver = 3;
// Main actions of antispam, content and domain-check rules: the rules' common
// main actions.
inline constexpr const auto& kEmailActionNames = EnterpriseIntegration::rules::kCommonMainActionNames;

inline constexpr int32_t kAttachmentActionDeliver = 5;
inline constexpr const auto& kAttachmentActionNames =
    EnterpriseIntegration::attachment::kMainActionNames;

// Secondary actions: each filter's own table, as its rules name them (the
// first four are common, the rest differ per filter).
inline constexpr const auto& kAntispamSecondaryNames =
    EnterpriseIntegration::rules::kCommonSecondaryActionNames;
inline constexpr const auto& kContentSecondaryNames =
    EnterpriseIntegration::content::kSecondaryActionNames;
inline constexpr const auto& kAttachmentSecondaryNames =
    EnterpriseIntegration::attachment::kSecondaryActionNames;
inline constexpr const auto& kDomainCheckSecondaryNames =
    EnterpriseIntegration::domaincheck::kSecondaryActionNames;

// The item's overall transport outcome.
inline constexpr auto kOutcomeNames = EnumNames({
    {0, "passthrough"},
    {1, "modify"},
    {2, "drop"},
});

inline constexpr auto kObjectTypeNames = EnumNames({
    {0, "email"},
    {1, "file"},
    {2, "contact"},
    {3, "task"},
    {4, "appointment"},
    {5, "postitem"},
});

// Codes are compared as unsigned 32-bit numbers, so -1 sorts last.
inline constexpr auto kThreatTypeNames = EnumNames({
    {0, "virus"},
    {1, "spyware"},
    {2, "adware"},
    {3, "spam"},
    {4, "rootkit"},
    {5, "dialer"},
    {6, "application"},
    {7, "archiveBomb"},
    {0x86, "pua"},
    {0x106, "keylogger"},
    {0xFFFFFFFFu, "unknown"},
});

// A direction outside the table is still written, as kUnknownTraffic.
inline constexpr auto kTrafficNames = EnumNames({
    {1, "incoming"},
    {2, "outgoing"},
    {4, "internal"},
});
inline constexpr char kUnknownTraffic[] = "n/a";

// The name of `code` in `table`, or null.
template <class Table>
const char* NameOf(const Table& table, int64_t code) noexcept {
  if (code < INT32_MIN || code > UINT32_MAX) return nullptr;
  const EnterpriseIntegration::EnumName* row = table.view().FindCode(static_cast<uint32_t>(code));
  return row ? row->name.data() : nullptr;
}

}  // namespace Reporting
