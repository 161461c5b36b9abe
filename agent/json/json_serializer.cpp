#include "agent/json/json_serializer.h"

#include <string>

#include "frame/logging/log.h"
#include "frame/text_convert.h"

namespace EnterpriseIntegration::detail {

void WriteSubnodeFailure(const JsonNodeRef& at) noexcept {
  if (!logging::IsActive()) return;
  try {
    const std::string key = at.KeyText();
    const std::wstring wideKey = kel::WideFromUtf8(key.data(), key.size());
    // %s takes a wide string in the library's formats.
    logging::Write(logging::kLevelSubnodeFailure, L"JsonComposedSerializer::Load",
                   L"Failed to load subnode %s", wideKey.c_str());
  } catch (...) {
    // Out of memory while reporting a failure: the failure itself still stands.
  }
}

}  // namespace EnterpriseIntegration::detail
