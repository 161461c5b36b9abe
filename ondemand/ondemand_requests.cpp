#include "ondemand/ondemand_requests.h"

namespace EnterpriseIntegration {

using kel::nusdk::MailServers::IOnDemand;

bool TaskListCodec::Load(const JsonNodeRef& at, kel::List<IOnDemand::Task>& out) const {
  const Json::Value* array = at.node();
  if (array == nullptr || !array->isArray() || array->size() > MailServers::kMaxTasks) {
    return false;
  }
  return DefaultCodecOf<kel::List<IOnDemand::Task>>().Load(at, out);
}

bool TaskListCodec::Save(const kel::List<IOnDemand::Task>& value, Json::Value& out) const {
  return DefaultCodecOf<kel::List<IOnDemand::Task>>().Save(value, out);
}

void TaskListCodec::Describe(SchemaDirection direction, Json::Value& out) const {
  DescribeCodec(DefaultCodecOf<kel::List<IOnDemand::Task>>(), direction, out);
  if (direction == SchemaDirection::kInput) out["maxItems"] = MailServers::kMaxTasks;
}

}  // namespace EnterpriseIntegration
