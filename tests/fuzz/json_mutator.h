#pragma once
// Bad inputs made from a good one: wrong types at every key path, keys
// removed, unknown names, numbers at and past every limit, huge and broken
// strings, huge arrays, deep nesting, duplicate and unknown keys, odd method
// names and missing accessors. A sweep of every path comes first (shuffled),
// then random mutations, some stacked; the same seed gives the same sequence.
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <json/value.h>

namespace kelfuzz {

// One step into a document: a member name or an array index.
struct Step {
  bool isIndex = false;
  std::string key;
  Json::ArrayIndex index = 0;
};
using Path = std::vector<Step>;

// Every value of `doc`, the root (an empty path) first, parents before
// children.
std::vector<Path> PathsOf(const Json::Value& doc);
// Null when `path` does not resolve.
Json::Value* Resolve(Json::Value& doc, const Path& path);
std::string PathText(const Path& path);

// Tears `value` down without recursion, so that a tree nested far deeper
// than the stack allows is left as null instead of overflowing.
void Dismantle(Json::Value& value) noexcept;

// A deep chain: `depth` arrays (or objects, under key "a") around `leaf`.
Json::Value Nested(size_t depth, bool objects, Json::Value leaf);

// One call to make.
struct Mutant {
  Json::Value input;
  std::wstring method;
  bool nullName = false;
  bool nullPolicy = false;
  bool nullInput = false;
  bool nullOutput = false;
  bool heavy = false;  // megabytes of input: a huge string or array, or deep nesting
  std::string what;  // how it was made, for the failure report
};

class Mutator {
 public:
  Mutator(Json::Value seed, std::wstring method, uint64_t seedNumber);

  Mutant Next();
  size_t SweepSize() const { return sweep_.size(); }
  const Json::Value& Seed() const { return seed_; }
  const std::wstring& Method() const { return method_; }

 private:
  enum class Kind : uint8_t {
    kWrongType,
    kRemoveKey,
    kUnknownName,
    kNumberLimit,
    kHugeString,
    kEmbeddedNul,
    kBrokenText,
    kHugeArray,
    kDeepNesting,
    kDuplicateKey,
    kUnknownKey,
    kMethodName,
    kNullAccessor,
    kCount,
  };
  struct Planned {
    Kind kind;
    size_t path;    // index into paths_
    size_t choice;  // which variant of the kind
  };

  void Apply(const Planned& plan, Mutant& mutant);
  Planned Random(bool heavy);
  size_t PathOfType(bool (*accept)(const Json::Value&));
  size_t Below(size_t n) { return n == 0 ? 0 : static_cast<size_t>(rng_() % n); }

  Json::Value seed_;
  std::wstring method_;
  std::mt19937_64 rng_;
  std::vector<Path> paths_;
  std::vector<Planned> sweep_;
  size_t next_ = 0;
};

}  // namespace kelfuzz
