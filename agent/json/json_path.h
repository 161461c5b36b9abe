#pragma once
// Key paths into JSON documents, and the serializer context that carries a
// node and the key it was reached by.
//
// A key path is a narrow string of segments separated by "/" or "\"; empty
// segments (a leading, doubled or trailing separator) are skipped, so "/a//b"
// is "a/b" and "" or "/" is the node itself. A segment is a member name,
// optionally followed by one "[" decimal index "]" ("servers[2]"); a segment
// that is only an index ("[2]") indexes the current node. Anything else is
// malformed: "[" without "]", an empty, signed or non-decimal index, an index
// beyond 4294967295, a "]" without "[", or text after the "]".
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <json/value.h>

namespace EnterpriseIntegration {

struct PathSegment {
  std::string_view name;  // empty for a segment that is only an index
  bool has_index = false;
  Json::ArrayIndex index = 0;
};

// Splits a key path into segments, left to right. Usable at compile time, so
// that the keys of a schema are checked when it is compiled.
class PathReader {
 public:
  constexpr explicit PathReader(std::string_view path) noexcept : path_(path) {}

  // The next segment; false at the end of the path or at a malformed segment
  // (then malformed() tells which).
  constexpr bool Next(PathSegment& segment) noexcept {
    while (pos_ < path_.size() && IsSeparator(path_[pos_])) ++pos_;
    if (pos_ == path_.size() || malformed_) return false;
    const size_t start = pos_;
    while (pos_ < path_.size() && !IsSeparator(path_[pos_]) && path_[pos_] != '[' &&
           path_[pos_] != ']') {
      ++pos_;
    }
    segment.name = path_.substr(start, pos_ - start);
    segment.has_index = false;
    segment.index = 0;
    if (pos_ < path_.size() && path_[pos_] == '[') {
      ++pos_;
      uint64_t index = 0;
      size_t digits = 0;
      while (pos_ < path_.size() && path_[pos_] >= '0' && path_[pos_] <= '9') {
        index = index * 10 + static_cast<uint64_t>(path_[pos_] - '0');
        if (index > kMaxIndex) return Fail();
        ++digits;
        ++pos_;
      }
      if (digits == 0 || pos_ == path_.size() || path_[pos_] != ']') return Fail();
      ++pos_;
      segment.has_index = true;
      segment.index = static_cast<Json::ArrayIndex>(index);
    }
    if (pos_ < path_.size() && !IsSeparator(path_[pos_])) return Fail();
    return true;
  }

  constexpr bool malformed() const noexcept { return malformed_; }

  static constexpr bool IsSeparator(char ch) noexcept { return ch == '/' || ch == '\\'; }

 private:
  static constexpr uint64_t kMaxIndex = 0xFFFFFFFFu;

  constexpr bool Fail() noexcept {
    malformed_ = true;
    return false;
  }

  std::string_view path_;
  size_t pos_ = 0;
  bool malformed_ = false;
};

constexpr bool IsWellFormedPath(std::string_view path) noexcept {
  PathReader reader(path);
  PathSegment segment;
  while (reader.Next(segment)) {
  }
  return !reader.malformed();
}

// A path of exactly one member name and nothing else, the common case, which
// the serializers look up without walking.
constexpr bool IsPlainKey(std::string_view path) noexcept {
  if (path.empty()) return false;
  for (char ch : path) {
    if (PathReader::IsSeparator(ch) || ch == '[' || ch == ']') return false;
  }
  return true;
}

// The node at `path` under `node`, for reading: every named segment needs an
// object holding that member, every index an array holding that index. Null
// when `node` is null, the path is malformed, or any step fails. Never changes
// the document.
const Json::Value* FindNode(const Json::Value* node, std::string_view path) noexcept;

// Saving never creates more than this many null elements ahead of one index:
// a wrong index must not leave a document that a writer walks for billions of
// nulls.
inline constexpr Json::ArrayIndex kMaxSaveIndexGap = 65536;

// The node at `path` under `node`, for writing, created as needed: a value
// that is not an object becomes an empty object before a member is added
// (likewise a non-array becomes an empty array before an element is), and
// missing array elements up to the index are created as null. Null, with the
// document unchanged, when the path is malformed or an index lies more than
// kMaxSaveIndexGap beyond its array's end. The result is the node as it is;
// the caller assigns the new value. Throws only what allocation throws.
Json::Value* ResolveForSave(Json::Value& node, std::string_view path);

// The serializer context: the node being read (null when it is absent) and
// the key by which it was reached, for the log. An element of a list is
// reached by the list's key and its index ("servers[2]"). Holds no ownership:
// the document and the key must outlive it.
class JsonNodeRef {
 public:
  JsonNodeRef() noexcept = default;
  explicit JsonNodeRef(const Json::Value* node, std::string_view key = {}) noexcept
      : node_(node), key_(key) {}
  // The child at `key` (a key path) of `parent`; absent when the parent is or
  // when the path does not resolve.
  JsonNodeRef(const JsonNodeRef& parent, std::string_view key) noexcept
      : node_(FindNode(parent.node_, key)), key_(key) {}

  // Element `index` of the list that `listKey` reached.
  static JsonNodeRef Element(const Json::Value* node, std::string_view listKey,
                             Json::ArrayIndex index) noexcept {
    JsonNodeRef ref(node, listKey);
    ref.index_ = static_cast<int64_t>(index);
    return ref;
  }

  const Json::Value* node() const noexcept { return node_; }
  bool IsAbsent() const noexcept { return node_ == nullptr; }
  std::string_view key() const noexcept { return key_; }
  // The key as the log names it: "servers", or "servers[2]" for an element.
  std::string KeyText() const;

 private:
  const Json::Value* node_ = nullptr;
  std::string_view key_;
  int64_t index_ = -1;  // -1: not an element
};

}  // namespace EnterpriseIntegration
