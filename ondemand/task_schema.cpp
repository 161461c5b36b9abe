#include "ondemand/task_schema.h"

#include "frame/text_convert.h"
#include "ondemand/task_context.h"

namespace EnterpriseIntegration {

using kel::nusdk::MailServers::IOnDemand;

const char* ondemand::RunStatusName(int32_t status) noexcept {
  switch (status) {
    case IOnDemand::kRunError:
      return "error";
    case IOnDemand::kRunDone:
      return "done";
    case IOnDemand::kRunInterrupted:
      return "interrupted";
    case IOnDemand::kRunTimeout:
      return "timeout";
    default:
      return "n/a";
  }
}

bool TaskIdCodec::Load(const JsonNodeRef& at, kel::Guid& out) const {
  const Json::Value* node = at.node();
  if (node == nullptr) return false;
  if (node->isString() && node->asString().empty()) return true;
  return LoadGuidValue(*node, out);
}

bool TaskIdCodec::Save(const kel::Guid& value, Json::Value& out) const {
  SaveGuidValue(value, out);
  return true;
}

bool StartDateCodec::Load(const JsonNodeRef& at, int64_t& out) const {
  // The unsigned load takes a negative integer as its bit pattern, so both
  // signed and unsigned 64-bit numbers arrive here unchanged in their bits.
  uint64_t bits = 0;
  if (at.IsAbsent() || !LoadIntegerValue(*at.node(), bits)) return false;
  out = static_cast<int64_t>(bits);
  return true;
}

bool StartDateCodec::Save(const int64_t& value, Json::Value& out) const {
  out = Json::Value(static_cast<Json::Int64>(value));
  return true;
}

bool DateLimitCodec::Load(const JsonNodeRef& at, IOnDemand::DateLimit& out) const {
  const Json::Value* node = at.node();
  if (node == nullptr) return false;
  if (node->isObject()) return StructCodec<IOnDemand::DateLimit>().Load(at, out);
  int64_t when = 0;
  if (!LoadIntegerValue(*node, when)) return false;
  out.when = when;
  out.relative = 0;
  return true;
}

bool DateLimitCodec::Save(const IOnDemand::DateLimit& value, Json::Value& out) const {
  return StructCodec<IOnDemand::DateLimit>().Save(value, out);
}

bool UnwrappedContextCodec::Save(const kel::StringW& value, Json::Value& out) const {
  out = Json::Value(MailServers::UnwrapContext(value).context);
  return true;
}

bool RunStatusCodec::Save(const int32_t& value, Json::Value& out) const {
  out = Json::Value(ondemand::RunStatusName(value));
  return true;
}

void TaskIdCodec::Describe(SchemaDirection direction, Json::Value& out) const {
  out = GuidSchema(direction);
  if (direction == SchemaDirection::kOutput) return;
  Json::Value empty(Json::objectValue);
  empty["const"] = "";
  out = EitherSchema(std::move(out), std::move(empty));
  AddDescription(out, "\"\" keeps the id the task has.");
}

void StartDateCodec::Describe(SchemaDirection direction, Json::Value& out) const {
  if (direction == SchemaDirection::kOutput) {
    DescribeCodec(IntegerCodec<int64_t>(), direction, out);
    return;
  }
  // Signed or unsigned 64 bits, kept as the same bits.
  DescribeCodec(IntegerCodec<uint64_t>(), direction, out);
}

void DateLimitCodec::Describe(SchemaDirection direction, Json::Value& out) const {
  DescribeCodec(StructCodec<IOnDemand::DateLimit>(), direction, out);
  if (direction == SchemaDirection::kOutput) return;
  Json::Value when;
  DescribeCodec(IntegerCodec<int64_t>(), direction, when);
  AddDescription(when, "A bare number is an absolute time.");
  out = EitherSchema(std::move(out), std::move(when));
}

void UnwrappedContextCodec::Describe(SchemaDirection, Json::Value& out) const {
  out = TypeSchema("string");
}

void RunStatusCodec::Describe(SchemaDirection, Json::Value& out) const {
  out = TypeSchema("string");
  for (int32_t status : {IOnDemand::kRunError, IOnDemand::kRunDone, IOnDemand::kRunInterrupted,
                         IOnDemand::kRunTimeout})
    out["enum"].append(ondemand::RunStatusName(status));
  out["enum"].append("n/a");
}

}  // namespace EnterpriseIntegration
