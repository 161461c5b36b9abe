#include "agent/json/json_path.h"

#include <limits>

namespace EnterpriseIntegration {

const Json::Value* FindNode(const Json::Value* node, std::string_view path) noexcept {
  PathReader reader(path);
  PathSegment segment;
  while (node != nullptr && reader.Next(segment)) {
    if (!segment.name.empty()) {
      // find() and member access throw on anything but objects and null.
      if (!node->isObject()) return nullptr;
      node = node->find(segment.name.data(), segment.name.data() + segment.name.size());
      if (node == nullptr) return nullptr;
    }
    if (segment.has_index) {
      if (!node->isArray() || !node->isValidIndex(segment.index)) return nullptr;
      node = &(*node)[segment.index];
    }
  }
  return reader.malformed() ? nullptr : node;
}

namespace {

// Walks `path` over what already exists, without changing anything, to find
// out whether saving along it would stay within the index gap.
bool SaveStaysWithinGap(const Json::Value& root, std::string_view path) {
  PathReader reader(path);
  PathSegment segment;
  const Json::Value* existing = &root;  // null once the walk leaves the document
  while (reader.Next(segment)) {
    if (!segment.name.empty()) {
      existing =
          existing != nullptr && existing->isObject()
              ? existing->find(segment.name.data(), segment.name.data() + segment.name.size())
              : nullptr;
    }
    if (segment.has_index) {
      const bool array = existing != nullptr && existing->isArray();
      const Json::ArrayIndex size = array ? existing->size() : 0;
      // The last index would need a size one beyond what an array can count.
      if (segment.index == std::numeric_limits<Json::ArrayIndex>::max()) return false;
      if (segment.index > size && segment.index - size > kMaxSaveIndexGap) return false;
      existing = array && segment.index < size ? &(*existing)[segment.index] : nullptr;
    }
  }
  return !reader.malformed();
}

}  // namespace

Json::Value* ResolveForSave(Json::Value& node, std::string_view path) {
  if (!SaveStaysWithinGap(node, path)) return nullptr;
  PathReader reader(path);
  PathSegment segment;
  Json::Value* current = &node;
  while (reader.Next(segment)) {
    if (!segment.name.empty()) {
      if (!current->isObject()) *current = Json::Value(Json::objectValue);
      current = current->demand(segment.name.data(), segment.name.data() + segment.name.size());
    }
    if (segment.has_index) {
      if (!current->isArray()) *current = Json::Value(Json::arrayValue);
      // resize() creates every missing element as null, so the array stays dense.
      if (segment.index >= current->size()) current->resize(segment.index + 1);
      current = &(*current)[segment.index];
    }
  }
  return current;
}

std::string JsonNodeRef::KeyText() const {
  std::string text(key_);
  if (index_ >= 0) {
    text += '[';
    text += std::to_string(index_);
    text += ']';
  }
  return text;
}

}  // namespace EnterpriseIntegration
