#pragma once
// Standard GUID text ("66551ab3-fca3-bc90-5f42-c5f792e24b51", braces optional)
// for interface identifiers, as hosts and scripts write them.
#include <string>

#include "sdk/interface_id.h"

namespace kel {

std::wstring InterfaceIdToText(const InterfaceId& id);
// Strict: 8-4-4-4-12 hexadecimal digits, optionally in braces; false leaves `out` as it was.
bool InterfaceIdFromText(const std::wstring& text, InterfaceId& out);

}  // namespace kel
