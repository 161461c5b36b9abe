#include "transport/content/content_schema.h"

#include <stdexcept>

namespace EnterpriseIntegration::content {

bool MatchCodec::Load(const JsonNodeRef& at, Match& out) const {
  return StructCodec<Match>().Load(at, out);
}

bool MatchCodec::Save(const Match& value, Json::Value& out) const {
  if (kEngineNames.view().FindCode(value.engine) == nullptr) {
    throw std::invalid_argument("a content match engine without a name");
  }
  return StructCodec<Match>().Save(value, out);
}

void MatchCodec::Describe(SchemaDirection direction, Json::Value& out) const {
  DescribeCodec(StructCodec<Match>(), direction, out);
  // A match without an engine name fails the whole save instead.
  if (direction == SchemaDirection::kOutput) out["required"].append(json_keys::kEngine);
}

}  // namespace EnterpriseIntegration::content
