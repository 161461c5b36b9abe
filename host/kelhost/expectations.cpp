#include "host/kelhost/expectations.h"

#include <cmath>
#include <cstdint>

#include "host/kelhost/json_io.h"

namespace kelhost {
namespace {

bool IsInteger(const Json::Value& v) {
  return v.type() == Json::intValue || v.type() == Json::uintValue;
}

bool IsNumber(const Json::Value& v) { return IsInteger(v) || v.type() == Json::realValue; }

bool IntegerEqualsReal(const Json::Value& integer, double real) {
  if (!std::isfinite(real) || std::trunc(real) != real) return false;
  if (integer.type() == Json::intValue) {
    if (real < -9223372036854775808.0 || real >= 9223372036854775808.0) return false;
    return static_cast<int64_t>(real) == integer.asLargestInt();
  }
  if (real < 0 || real >= 18446744073709551616.0) return false;
  return static_cast<uint64_t>(real) == integer.asLargestUInt();
}

bool NumbersEqual(const Json::Value& a, const Json::Value& b) {
  if (a.type() == Json::realValue && b.type() == Json::realValue) {
    return a.asDouble() == b.asDouble();
  }
  if (a.type() == Json::realValue) return IntegerEqualsReal(b, a.asDouble());
  if (b.type() == Json::realValue) return IntegerEqualsReal(a, b.asDouble());
  if (a.type() == b.type()) {
    return a.type() == Json::intValue ? a.asLargestInt() == b.asLargestInt()
                                      : a.asLargestUInt() == b.asLargestUInt();
  }
  const Json::Value& signedOne = a.type() == Json::intValue ? a : b;
  const Json::Value& unsignedOne = a.type() == Json::intValue ? b : a;
  const int64_t value = signedOne.asLargestInt();
  return value >= 0 && static_cast<uint64_t>(value) == unsignedOne.asLargestUInt();
}

std::string Show(const Json::Value& value) {
  constexpr size_t kShown = 200;
  std::string text = CompactJson(value);
  if (text.size() > kShown) text = text.substr(0, kShown) + "...";
  return text;
}

std::string Join(const std::string& path, const std::string& member) {
  return path.empty() ? member : path + "/" + member;
}

// Like JsonContains; on failure `where` says at which path and why.
bool ContainsAt(const Json::Value& actual, const Json::Value& expected, const std::string& path,
                std::string& where) {
  const std::string at = "\"" + path + "\"";
  if (expected.isObject()) {
    if (!actual.isObject()) {
      where = at + ": expected an object, got " + Show(actual);
      return false;
    }
    for (auto it = expected.begin(); it != expected.end(); ++it) {
      const std::string name = it.name();
      const Json::Value* member = FindMember(actual, name);
      if (member == nullptr) {
        where = "\"" + Join(path, name) + "\": missing (expected " + Show(*it) + ")";
        return false;
      }
      if (!ContainsAt(*member, *it, Join(path, name), where)) return false;
    }
    return true;
  }
  if (expected.isArray()) {
    if (!actual.isArray()) {
      where = at + ": expected an array, got " + Show(actual);
      return false;
    }
    // Earliest match first is enough: any order-keeping assignment can be
    // moved to it element by element.
    Json::ArrayIndex next = 0;
    for (Json::ArrayIndex i = 0; i < expected.size(); ++i) {
      while (next < actual.size() && !JsonContains(actual[next], expected[i])) ++next;
      if (next == actual.size()) {
        where = at + ": element [" + std::to_string(i) + "] " + Show(expected[i]) +
                " has no match in order in " + Show(actual);
        return false;
      }
      ++next;
    }
    return true;
  }
  if (!JsonEqual(actual, expected)) {
    where = at + ": expected " + Show(expected) + ", got " + Show(actual);
    return false;
  }
  return true;
}

struct Step {
  bool isIndex;
  std::string name;
  uint64_t index;
};

bool ParseDigits(const std::string& text, uint64_t& out) {
  if (text.empty()) return false;
  uint64_t value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
    // Saturates: an index that large is absent from any array anyway.
    value =
        value > (UINT64_MAX - 9) / 10 ? UINT64_MAX : value * 10 + static_cast<uint64_t>(c - '0');
  }
  out = value;
  return true;
}

bool ParseSegment(const std::string& segment, std::vector<Step>& steps) {
  if (segment.empty()) return false;
  const size_t bracket = segment.find('[');
  const std::string name = segment.substr(0, bracket);
  if (name.find(']') != std::string::npos) return false;
  if (!name.empty()) steps.push_back(Step{false, name, 0});
  size_t pos = bracket;
  while (pos != std::string::npos) {
    if (segment[pos] != '[') return false;
    const size_t close = segment.find(']', pos);
    if (close == std::string::npos) return false;
    uint64_t index = 0;
    if (!ParseDigits(segment.substr(pos + 1, close - pos - 1), index)) return false;
    steps.push_back(Step{true, std::string(), index});
    pos = close + 1 == segment.size() ? std::string::npos : close + 1;
  }
  return true;
}

}  // namespace

bool JsonEqual(const Json::Value& a, const Json::Value& b) {
  if (IsNumber(a) && IsNumber(b)) return NumbersEqual(a, b);
  if (a.type() != b.type()) return false;
  if (a.isObject()) {
    if (a.size() != b.size()) return false;
    for (auto it = a.begin(); it != a.end(); ++it) {
      const std::string name = it.name();
      const Json::Value* other = FindMember(b, name);
      if (other == nullptr || !JsonEqual(*it, *other)) return false;
    }
    return true;
  }
  if (a.isArray()) {
    if (a.size() != b.size()) return false;
    for (Json::ArrayIndex i = 0; i < a.size(); ++i) {
      if (!JsonEqual(a[i], b[i])) return false;
    }
    return true;
  }
  return a == b;
}

bool JsonContains(const Json::Value& actual, const Json::Value& expected) {
  std::string where;
  return ContainsAt(actual, expected, std::string(), where);
}

PathState LookUpPath(const Json::Value& root, const std::string& path) {
  std::vector<Step> steps;
  size_t start = 0;
  while (true) {
    const size_t slash = path.find('/', start);
    const std::string segment =
        path.substr(start, slash == std::string::npos ? std::string::npos : slash - start);
    if (!ParseSegment(segment, steps)) return PathState::kMalformed;
    if (slash == std::string::npos) break;
    start = slash + 1;
  }
  const Json::Value* node = &root;
  for (const Step& step : steps) {
    if (step.isIndex) {
      if (!node->isArray() || step.index >= node->size()) return PathState::kAbsent;
      node = &(*node)[static_cast<Json::ArrayIndex>(step.index)];
    } else {
      node = FindMember(*node, step.name);
      if (node == nullptr) return PathState::kAbsent;
    }
  }
  return PathState::kPresent;
}

std::vector<std::string> CheckExpectations(const Json::Value& command, const Json::Value& reply) {
  std::vector<std::string> mismatches;
  if (!command.isObject()) return mismatches;

  if (const Json::Value* expect = FindMember(command, "expect")) {
    if (!expect->isObject()) {
      mismatches.push_back("expect must be an object");
    } else {
      for (auto it = expect->begin(); it != expect->end(); ++it) {
        const std::string name = it.name();
        const Json::Value* actual = FindMember(reply, name);
        if (actual == nullptr) {
          mismatches.push_back("expect \"" + name + "\": missing (expected " + Show(*it) + ")");
        } else if (!JsonEqual(*actual, *it)) {
          mismatches.push_back("expect \"" + name + "\": expected " + Show(*it) + ", got " +
                               Show(*actual));
        }
      }
    }
  }

  if (const Json::Value* has = FindMember(command, "expectHas")) {
    std::string where;
    if (!has->isObject()) {
      mismatches.push_back("expectHas must be an object");
    } else if (!ContainsAt(reply, *has, std::string(), where)) {
      mismatches.push_back("expectHas " + where);
    }
  }

  if (const Json::Value* absent = FindMember(command, "expectAbsent")) {
    if (!absent->isArray()) {
      mismatches.push_back("expectAbsent must be an array of key paths");
    } else {
      for (const Json::Value& path : *absent) {
        if (!path.isString()) {
          mismatches.push_back("expectAbsent: " + Show(path) + " is not a key path");
          continue;
        }
        switch (LookUpPath(reply, path.asString())) {
          case PathState::kPresent:
            mismatches.push_back("expectAbsent \"" + path.asString() + "\": present");
            break;
          case PathState::kMalformed:
            mismatches.push_back("expectAbsent \"" + path.asString() + "\": not a key path");
            break;
          case PathState::kAbsent:
            break;
        }
      }
    }
  }
  return mismatches;
}

bool AnticipatesError(const Json::Value& command) {
  if (!command.isObject()) return false;
  for (const char* key : {"expect", "expectHas"}) {
    const Json::Value* expected = FindMember(command, key);
    if (expected != nullptr && FindMember(*expected, "error") != nullptr) return true;
  }
  return false;
}

}  // namespace kelhost
