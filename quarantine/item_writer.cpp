#include "quarantine/item_writer.h"

#include <utility>
#include <vector>

#include "agent/json/json_primitives.h"

namespace QuarantineAgent {

using EnterpriseIntegration::JsonSerializer;
using EnterpriseIntegration::NameTableView;
using EnterpriseIntegration::SchemaDirection;

namespace {

bool Named(int32_t code, const NameTableView& names) noexcept {
  return names.FindCode(static_cast<uint32_t>(code)) != nullptr;
}

bool PartsWithinDepth(const MailPartInfo& part) noexcept {
  try {
    std::vector<std::pair<const MailPartInfo*, size_t>> pending{{&part, 1}};
    while (!pending.empty()) {
      const auto next = pending.back();
      pending.pop_back();
      if (next.second > kMaxPartDepth) return false;
      for (const MailPartInfo& child : next.first->childParts)
        pending.push_back({&child, next.second + 1});
    }
    return true;
  } catch (...) {
    return false;
  }
}

template <class Item>
bool WriteWhole(const Item& item, Json::Value& out) {
  out = Json::Value(Json::objectValue);
  if (!ItemWritable(item)) return false;
  Json::Value written;
  if (!JsonSerializer<Item>::Save(written, item)) return false;
  out = std::move(written);
  return true;
}

template <class Item>
bool WriteItemArray(const kel::List<Item>& items, Json::Value& out) {
  out = Json::Value(Json::arrayValue);
  if (!ItemsWritable(items)) return false;
  return JsonSerializer<kel::List<Item>>::Save(out, items);
}

}  // namespace

bool FoundOnDemand(const kel::nusdk::MailServers::Quarantine::DetectionPoint& point) noexcept {
  return point.location == q::kLocationOnDemand;
}

bool FromAntivirus(const Data& item) noexcept { return item.module == q::kModuleAntivirus; }

bool FromAttachment(const Data& item) noexcept { return item.module == q::kModuleAttachment; }

bool ItemWritable(const Data& item) noexcept {
  return Named(item.detectionPoint.location, kLocationNames.view()) &&
         Named(item.module, kModuleNames.view()) &&
         (!FromAntivirus(item) || Named(item.antivirusReason, kReasonNames.view()));
}

bool ItemWritable(const DataEx& item) noexcept {
  return ItemWritable(static_cast<const Data&>(item)) && PartsWithinDepth(item.mainPart);
}

bool WriteItem(const Data& item, Json::Value& out) { return WriteWhole(item, out); }

bool WriteItem(const DataEx& item, Json::Value& out) { return WriteWhole(item, out); }

bool WriteMailPart(const MailPartInfo& part, Json::Value& out) {
  struct Pending {
    const MailPartInfo* part;
    Json::Value* target;
    size_t depth;
  };
  // Element addresses of a jsoncpp array stay valid while it grows (1.9.5
  // keeps elements in a map), so targets can be handed out before they are
  // filled.
  Json::Value written(Json::objectValue);
  std::vector<Pending> pending{{&part, &written, 1}};
  while (!pending.empty()) {
    const Pending next = pending.back();
    pending.pop_back();
    if (next.depth > kMaxPartDepth) return false;
    Json::Value& target = *next.target = Json::Value(Json::objectValue);
    EnterpriseIntegration::StructCodec<MailPartInfo>::SaveMembers(*next.part, target);
    Json::Value& children = target["childParts"] = Json::Value(Json::arrayValue);
    if (next.part->childParts.IsEmpty()) continue;
    children.resize(static_cast<Json::ArrayIndex>(next.part->childParts.Count()));
    Json::ArrayIndex i = 0;
    for (const MailPartInfo& child : next.part->childParts)
      pending.push_back({&child, &children[i++], next.depth + 1});
  }
  out = std::move(written);
  return true;
}

void MailPartCodec::Describe(SchemaDirection direction, Json::Value& out) const {
  EnterpriseIntegration::DescribeCodec(EnterpriseIntegration::StructCodec<MailPartInfo>(),
                                       direction, out);
  // The part's schema is a resource of its own, which the child parts name.
  static constexpr char kPartSchema[] = "urn:kel:quarantine:mail-part";
  out["$id"] = kPartSchema;
  Json::Value& children = out["properties"]["childParts"] =
      EnterpriseIntegration::TypeSchema("array");
  children["items"]["$ref"] = kPartSchema;
  out["required"].append("childParts");
}

bool WriteItems(const kel::List<Data>& items, Json::Value& out) {
  return WriteItemArray(items, out);
}

bool WriteItems(const kel::List<DataEx>& items, Json::Value& out) {
  return WriteItemArray(items, out);
}

void ReleaseChildParts(MailPartInfo& part) noexcept {
  // Each list taken out of the tree is freed only once its elements have
  // given up their own children, so no destructor ever goes deeper than one
  // level. If the work list cannot grow, what is left is freed the ordinary
  // way: a tree that deep and a machine that full leave no better choice.
  try {
    std::vector<kel::List<MailPartInfo>> lists;
    lists.push_back(std::move(part.childParts));
    while (!lists.empty()) {
      kel::List<MailPartInfo> list = std::move(lists.back());
      lists.pop_back();
      for (MailPartInfo& child : list) {
        if (!child.childParts.IsEmpty()) lists.push_back(std::move(child.childParts));
      }
    }
  } catch (...) {
  }
}

}  // namespace QuarantineAgent
