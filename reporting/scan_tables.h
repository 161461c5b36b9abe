#pragma once
// The code-to-name tables of scan results. A code missing from its table has
// no name: the key it would fill is left out of the document.
#include <cstdint>

#include "agent/json/json_enum.h"

namespace Reporting {

using EnterpriseIntegration::EnumNames;

// The overall action of every module, and antivirus rules' file actions.
inline constexpr auto kFileActionNames = EnumNames({
    {1, "ignoreFile"},
    {3, "disinfect"},
    {5, "deleteFile"},
    {7, "quarantineFile"},
    {10, "disinfectFile"},
    {0x302, "quarantineEmail"},
    {0x402, "redirectEmail"},
    {0x505, "replaceFile"},
    {0x602, "rejectOrDeleteEmail"},
});

inline constexpr int32_t kEmailActionDeliver = 3;
// Main actions of antispam, content and domain-check rules.
inline constexpr auto kEmailActionNames = EnumNames({
    {0, "rejectOrDeleteEmail"},
    {1, "redirectEmail"},
    {2, "quarantineEmail"},
    {kEmailActionDeliver, "deliverEmail"},
});

inline constexpr int32_t kAttachmentActionDeliver = 5;
inline constexpr auto kAttachmentActionNames = EnumNames({
    {0, "rejectOrDeleteEmail"},
    {1, "deleteAttachment"},
    {2, "replaceAttachment"},
    {3, "redirectEmail"},
    {4, "quarantineEmail"},
    {kAttachmentActionDeliver, "deliverEmail"},
});

// Secondary actions: the first four are common, the rest differ per filter.
inline constexpr auto kAntispamSecondaryNames = EnumNames({
    {0, "tagSubject"},
    {1, "addHeader"},
    {2, "saveToFolder"},
    {3, "bccTo"},
    {4, "addSCLHeader"},
    {5, "notifyInternalRecipients"},
    {6, "notifyRecipients"},
});
inline constexpr auto kContentSecondaryNames = EnumNames({
    {0, "tagSubject"},
    {1, "addHeader"},
    {2, "saveToFolder"},
    {3, "bccTo"},
    {4, "notifyInternalRecipients"},
    {5, "notifyRecipients"},
});
inline constexpr auto kAttachmentSecondaryNames = EnumNames({
    {0, "tagSubject"},
    {1, "addHeader"},
    {2, "saveToFolder"},
    {3, "bccTo"},
    {4, "forwardEmail"},
    {5, "notifyInternalRecipients"},
    {6, "notifyRecipients"},
});
inline constexpr auto kDomainCheckSecondaryNames = EnumNames({
    {0, "tagSubject"},
    {1, "addHeader"},
    {2, "saveToFolder"},
    {3, "bccTo"},
});

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
