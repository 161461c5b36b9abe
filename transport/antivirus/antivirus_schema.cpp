#include "transport/antivirus/antivirus_schema.h"

#include <limits>

#include "frame/logging/log.h"

namespace EnterpriseIntegration {

namespace {

using kel::nusdk::MailServers::IAntivirusFilterRule;
using kel::nusdk::MailServers::Antivirus::kUnlimitedArchiveDepth;
using kel::nusdk::MailServers::Antivirus::ReplacementTexts;
using kel::nusdk::MailServers::Antivirus::RuleSet;

// JSON's word for the plug-in's unlimited depth.
constexpr int32_t kJsonUnlimitedDepth = -1;

bool Contains(const kel::List<IAntivirusFilterRule::Action>& actions,
              IAntivirusFilterRule::Action wanted) {
  for (IAntivirusFilterRule::Action action : actions) {
    if (action == wanted) return true;
  }
  return false;
}

}  // namespace

namespace antivirus {

bool CheckRedirectTargets(const RuleSet& rules) {
  for (const RuleSet::Rule& rule : rules.rules) {
    const RuleSet::OnDetection& onDetection = rule.onDetection;
    const bool redirects =
        Contains(onDetection.actions.infected, IAntivirusFilterRule::kRedirectEmail) ||
        Contains(onDetection.actions.suspect, IAntivirusFilterRule::kRedirectEmail);
    if (redirects && onDetection.redirectEmailTo.IsEmpty()) {
      if (logging::IsActive()) {
        logging::Write(logging::kLevelFailure, kRedirectCheckFunction,
                       L"Empty redirecEmailTo while Redirect action is used");
      }
      return false;
    }
  }
  return true;
}

}  // namespace antivirus

bool FooterTypesCodec::Load(const JsonNodeRef& at, uint32_t& out) const {
  const Json::Value* node = at.node();
  if (node == nullptr || !node->isArray()) return false;
  if (node->empty()) {
    out = 0;
    return true;
  }
  // Every name must be known; a non-empty set of known names is never 0.
  return LoadFlagsValue(*node, rules::kTrafficNames.view(), out);
}

bool FooterTypesCodec::Save(const uint32_t& value, Json::Value& out) const {
  SaveFlagsValue(value, rules::kTrafficNames.view(), out);
  return true;
}

bool ArchiveDepthCodec::Load(const JsonNodeRef& at, int32_t& out) const {
  if (at.IsAbsent()) return false;
  const Json::Value& node = *at.node();
  int32_t depth = 0;
  if (!LoadIntegerValue(node, depth)) {
    // -1 written as an unsigned 32-bit number; no other number beyond the
    // signed range is a depth.
    uint64_t pattern = 0;
    if (!LoadIntegerValue(node, pattern) || pattern != std::numeric_limits<uint32_t>::max()) {
      return false;
    }
    depth = kJsonUnlimitedDepth;
  }
  out = depth == kJsonUnlimitedDepth ? kUnlimitedArchiveDepth : depth;
  return true;
}

bool ArchiveDepthCodec::Save(const int32_t& value, Json::Value& out) const {
  out = Json::Value(value == kUnlimitedArchiveDepth ? kJsonUnlimitedDepth : value);
  return true;
}

bool ReplacementTextsCodec::Load(const JsonNodeRef& at, ReplacementTexts& out) const {
  const Json::Value* node = at.node();
  if (node == nullptr || !node->isObject()) return false;
  if (node->isMember(json_keys::kScanned)) {
    return StructCodec<ReplacementTexts>::LoadMembers(at, out);
  }
  out.unscannable = ReplacementTexts::Pair();
  return StructCodec<ReplacementTexts::Pair>::LoadMembers(at, out.scanned) &&
         JsonComposedSerializer::Load(at, json_keys::kMoreInformation, out.moreInformation);
}

bool ReplacementTextsCodec::Save(const ReplacementTexts& value, Json::Value& out) const {
  return StructCodec<ReplacementTexts>().Save(value, out);
}

void FooterTypesCodec::Describe(SchemaDirection, Json::Value& out) const {
  out = FlagsSchema(rules::kTrafficNames.view(), SchemaDirection::kOutput);
  out.removeMember("uniqueItems");
  AddDescription(out, "An empty list changes no direction.");
}

void ArchiveDepthCodec::Describe(SchemaDirection direction, Json::Value& out) const {
  out = IntegerSchema(std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max());
  if (direction == SchemaDirection::kInput) {
    Json::Value pattern(Json::objectValue);
    pattern["const"] = Json::Value(static_cast<Json::UInt>(std::numeric_limits<uint32_t>::max()));
    out = EitherSchema(std::move(out), std::move(pattern));
  }
  AddDescription(out, "-1 is no limit (4294967295 is read as -1).");
}

void ReplacementTextsCodec::Describe(SchemaDirection direction, Json::Value& out) const {
  DescribeCodec(StructCodec<ReplacementTexts>(), direction, out);
  if (direction == SchemaDirection::kOutput) return;
  // Without "scanned": the scanned pair at the top, and the unscannable one empty.
  Json::Value flat = detail::ObjectSchema(direction);
  detail::DescribeMembers<ReplacementTexts::Pair>(direction, flat);
  DescribeCodec(StringCodec(), direction,
                detail::PropertyAt(flat, json_keys::kMoreInformation, true, direction));
  flat["not"]["required"].append(json_keys::kScanned);
  out = EitherSchema(std::move(out), std::move(flat));
}

}  // namespace EnterpriseIntegration
