// An agent's schema document, written from the rows that dispatch its methods
// and name its events.
#include <cwchar>
#include <string>

#include "agent/agent_base.h"
#include "frame/result_codes.h"
#include "frame/text_convert.h"

namespace EnterpriseIntegration {

namespace {

std::string Utf8(const wchar_t* text) { return kel::Utf8FromWide(text, std::wcslen(text)); }

}  // namespace

Json::Value ShapeSchema(const MethodShape& shape, bool input) {
  Json::Value schema(Json::objectValue);
  switch (shape.kind) {
    case ShapeKind::kSchema:
      shape.write(schema);
      break;
    case ShapeKind::kNone:
      if (input) {
        schema["description"] = "The input is not read.";
      } else {
        // The host's output slot stays as the host passed it: null from kelhost.
        schema["type"] = "null";
        schema["description"] = "Nothing is written into the output.";
      }
      break;
    case ShapeKind::kUndeclared:
      schema["description"] = "Not declared.";
      schema["undeclared"] = true;
      break;
  }
  return schema;
}

void AgentBase::Describe(Json::Value& document) const {
  document = Json::Value(Json::objectValue);
  document["agent"] = Utf8(name_.c_str());
  Json::Value& names = document["methodNames"];
  names["match"] = rules_.match == NameMatch::kExact ? "exact" : "ignoringCase";
  if (rules_.stripPrefix) names["prefix"] = Utf8(name_.c_str()) + ".";
  Json::Value& methods = document["methods"] = Json::Value(Json::objectValue);
  for (const PolicyMethodEntry& row : PolicyMethods()) {
    if (!row.name || !row.handler) continue;
    Json::Value& method = methods[Utf8(row.name)];
    // A name listed twice answers by its first row, as Find does.
    if (!method.isNull()) continue;
    method["input"] = ShapeSchema(row.input, true);
    method["output"] = ShapeSchema(row.output, false);
  }
  Json::Value& events = document["events"] = Json::Value(Json::objectValue);
  for (const EventEntry& row : Events()) {
    Json::Value& body = events[Utf8(row.name)];
    if (body.isNull()) body = ShapeSchema(row.body, false);
  }
}

uint32_t AgentBase::SchemaSource::DescribeSchemas(Json::Value* document) {
  if (!document) return kel::result::kBadArguments;
  try {
    Json::Value written;
    agent_.Describe(written);
    *document = std::move(written);
    return kel::result::kSuccess;
  } catch (...) {
    return kel::result::kInternalError;
  }
}

}  // namespace EnterpriseIntegration
