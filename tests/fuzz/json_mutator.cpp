#include "tests/fuzz/json_mutator.h"

#include <algorithm>
#include <cfloat>
#include <cwctype>
#include <limits>
#include <memory>
#include <sstream>
#include <utility>

#include <json/reader.h>
#include <json/writer.h>

namespace kelfuzz {
namespace {

constexpr size_t kHugeStringBytes = 1 << 20;
constexpr Json::ArrayIndex kHugeArrayLength = 100000;
constexpr size_t kDeepNesting = 10000;

struct Variant {
  const char* label;
  Json::Value (*make)(const Json::Value& original);
};

std::string StringOf(const Json::Value& v) { return v.isString() ? v.asString() : "text"; }

// Values of another type than the key may want.
const Variant kWrongTypes[] = {
    {"null", [](const Json::Value&) { return Json::Value(); }},
    {"false", [](const Json::Value&) { return Json::Value(false); }},
    {"-1", [](const Json::Value&) { return Json::Value(-1); }},
    {"0.5", [](const Json::Value&) { return Json::Value(0.5); }},
    {"\"\"", [](const Json::Value&) { return Json::Value(""); }},
    {"\"1\"", [](const Json::Value&) { return Json::Value("1"); }},
    {"[]", [](const Json::Value&) { return Json::Value(Json::arrayValue); }},
    {"{}", [](const Json::Value&) { return Json::Value(Json::objectValue); }},
    {"[original]",
     [](const Json::Value& v) {
       Json::Value a(Json::arrayValue);
       a.append(v);
       return a;
     }},
    {"{\"a\":original}",
     [](const Json::Value& v) {
       Json::Value o(Json::objectValue);
       o["a"] = v;
       return o;
     }},
};

std::string Flipped(std::string s, bool upper) {
  for (char& c : s) c = static_cast<char>(upper ? std::toupper(static_cast<unsigned char>(c))
                                                : std::tolower(static_cast<unsigned char>(c)));
  return s;
}

// Names no enumeration table holds, and near misses of the one given.
const Variant kUnknownNames[] = {
    {"\"noSuchName\"", [](const Json::Value&) { return Json::Value("noSuchName"); }},
    {"\"\"", [](const Json::Value&) { return Json::Value(""); }},
    {"upper case", [](const Json::Value& v) { return Json::Value(Flipped(StringOf(v), true)); }},
    {"lower case", [](const Json::Value& v) { return Json::Value(Flipped(StringOf(v), false)); }},
    {"trailing space", [](const Json::Value& v) { return Json::Value(StringOf(v) + " "); }},
    {"leading space", [](const Json::Value& v) { return Json::Value(" " + StringOf(v)); }},
    {"last character cut",
     [](const Json::Value& v) {
       std::string s = StringOf(v);
       if (!s.empty()) s.pop_back();
       return Json::Value(s);
     }},
};

Json::Value Shifted(const Json::Value& v, int by) {
  if (v.isInt64()) {
    const Json::Int64 n = v.asInt64();
    if (by < 0 && n == std::numeric_limits<Json::Int64>::min()) return Json::Value(-1.0e19);
    if (by > 0 && n == std::numeric_limits<Json::Int64>::max()) return Json::Value(Json::UInt64(n) + 1);
    return Json::Value(n + by);
  }
  if (v.isUInt64()) {
    const Json::UInt64 n = v.asUInt64();
    if (by > 0 && n == std::numeric_limits<Json::UInt64>::max()) return Json::Value(1.9e19);
    return Json::Value(by > 0 ? n + 1 : n - 1);
  }
  return Json::Value(by);
}

// Integers at and past every limit a 32- or 64-bit field has, and doubles.
const Variant kNumberLimits[] = {
    {"original-1", [](const Json::Value& v) { return Shifted(v, -1); }},
    {"original+1", [](const Json::Value& v) { return Shifted(v, 1); }},
    {"-1", [](const Json::Value&) { return Json::Value(-1); }},
    {"0", [](const Json::Value&) { return Json::Value(0); }},
    {"-2^31", [](const Json::Value&) { return Json::Value(std::numeric_limits<Json::Int>::min()); }},
    {"2^31-1", [](const Json::Value&) { return Json::Value(std::numeric_limits<Json::Int>::max()); }},
    {"2^31", [](const Json::Value&) { return Json::Value(Json::UInt(1u << 31)); }},
    {"2^32-1", [](const Json::Value&) { return Json::Value(std::numeric_limits<Json::UInt>::max()); }},
    {"2^32", [](const Json::Value&) { return Json::Value(Json::UInt64(1) << 32); }},
    {"-2^63",
     [](const Json::Value&) { return Json::Value(std::numeric_limits<Json::Int64>::min()); }},
    {"2^63-1",
     [](const Json::Value&) { return Json::Value(std::numeric_limits<Json::Int64>::max()); }},
    {"2^63", [](const Json::Value&) { return Json::Value(Json::UInt64(1) << 63); }},
    {"2^64-1",
     [](const Json::Value&) { return Json::Value(std::numeric_limits<Json::UInt64>::max()); }},
    {"0.5", [](const Json::Value&) { return Json::Value(0.5); }},
    {"-0.0", [](const Json::Value&) { return Json::Value(-0.0); }},
    {"1.0", [](const Json::Value&) { return Json::Value(1.0); }},
    {"2^31 as double", [](const Json::Value&) { return Json::Value(2147483648.0); }},
    {"2^32 as double", [](const Json::Value&) { return Json::Value(4294967296.0); }},
    {"2^64 as double", [](const Json::Value&) { return Json::Value(18446744073709551616.0); }},
    {"1e300", [](const Json::Value&) { return Json::Value(1e300); }},
    {"-1e300", [](const Json::Value&) { return Json::Value(-1e300); }},
    {"DBL_MAX", [](const Json::Value&) { return Json::Value(DBL_MAX); }},
    {"-DBL_MAX", [](const Json::Value&) { return Json::Value(-DBL_MAX); }},
};

std::string Repeated(const std::string& unit, size_t bytes) {
  std::string s;
  s.reserve(bytes + unit.size());
  while (s.size() < bytes) s += unit;
  return s;
}

const Variant kHugeStrings[] = {
    {"1 MB of 'a'", [](const Json::Value&) { return Json::Value(std::string(kHugeStringBytes, 'a')); }},
    {"1 MB of U+00E9", [](const Json::Value&) { return Json::Value(Repeated("\xC3\xA9", kHugeStringBytes)); }},
    {"1 MB of \"%s\"", [](const Json::Value&) { return Json::Value(Repeated("%s", kHugeStringBytes)); }},
    {"original repeated to 1 MB",
     [](const Json::Value& v) {
       const std::string s = StringOf(v);
       return Json::Value(Repeated(s.empty() ? "x" : s, kHugeStringBytes));
     }},
};

Json::Value Inserted(const Json::Value& v, const std::string& what, bool atEnd) {
  std::string s = StringOf(v);
  s.insert(atEnd ? s.size() : s.size() / 2, what);
  return Json::Value(s);
}

const Variant kEmbeddedNuls[] = {
    {"NUL in the middle", [](const Json::Value& v) { return Inserted(v, std::string(1, '\0'), false); }},
    {"NUL at the end", [](const Json::Value& v) { return Inserted(v, std::string(1, '\0'), true); }},
    {"NUL alone", [](const Json::Value&) { return Json::Value(std::string(1, '\0')); }},
};

// Byte sequences no UTF-8 decoder should take: lone surrogates in their
// 3-byte form, a stray byte, a cut sequence, an overlong form, past U+10FFFF.
const Variant kBrokenTexts[] = {
    {"lone high surrogate", [](const Json::Value& v) { return Inserted(v, "\xED\xA0\x80", false); }},
    {"lone low surrogate", [](const Json::Value& v) { return Inserted(v, "\xED\xB0\x80", true); }},
    {"byte FF", [](const Json::Value& v) { return Inserted(v, "\xFF", false); }},
    {"cut sequence", [](const Json::Value& v) { return Inserted(v, "\xC3", true); }},
    {"overlong slash", [](const Json::Value& v) { return Inserted(v, "\xC0\xAF", false); }},
    {"past U+10FFFF", [](const Json::Value& v) { return Inserted(v, "\xF4\x90\x80\x80", false); }},
};

// 100,000 scalars like the first element, each different: ids that name
// nothing, so that a plug-in answers each without doing each.
Json::Value HugeArray(const Json::Value& v) {
  const Json::Value element = v.isArray() && !v.empty() ? v[0] : v;
  Json::Value a(Json::arrayValue);
  a.resize(kHugeArrayLength);
  for (Json::ArrayIndex i = 0; i < kHugeArrayLength; ++i) {
    if (element.isString()) {
      a[i] = element.asString() + "#" + std::to_string(i);
    } else {
      a[i] = i;
    }
  }
  return a;
}

Json::Value HugeArrayOfCopies(const Json::Value& v) {
  // The first element as it is when it is a structure: 100,000 rules, tasks
  // or items.
  if (!v.isArray() || v.empty() || !(v[0].isObject() || v[0].isArray())) return HugeArray(v);
  Json::Value a(Json::arrayValue);
  a.resize(kHugeArrayLength);
  for (Json::ArrayIndex i = 0; i < kHugeArrayLength; ++i) a[i] = v[0];
  return a;
}

const Variant kHugeArrays[] = {
    {"100,000 distinct elements", HugeArray},
    {"100,000 copies of the first element", HugeArrayOfCopies},
};

const Variant kDeepNestings[] = {
    {"arrays 10,000 deep", [](const Json::Value&) { return Nested(kDeepNesting, false, Json::Value(1)); }},
    {"objects 10,000 deep", [](const Json::Value&) { return Nested(kDeepNesting, true, Json::Value(1)); }},
};

struct MethodVariant {
  const char* label;
  std::wstring (*make)(const std::wstring& method);
};

std::wstring WideFlipped(std::wstring s, bool upper) {
  for (wchar_t& c : s) c = static_cast<wchar_t>(upper ? std::towupper(c) : std::towlower(c));
  return s;
}

const MethodVariant kMethodNames[] = {
    {"empty", [](const std::wstring&) { return std::wstring(); }},
    {"a dot", [](const std::wstring&) { return std::wstring(L"."); }},
    {"upper case", [](const std::wstring& m) { return WideFlipped(m, true); }},
    {"lower case", [](const std::wstring& m) { return WideFlipped(m, false); }},
    {"trailing space", [](const std::wstring& m) { return m + L" "; }},
    {"leading space", [](const std::wstring& m) { return L" " + m; }},
    {"trailing dot", [](const std::wstring& m) { return m + L"."; }},
    {"leading dot", [](const std::wstring& m) { return L"." + m; }},
    {"last character cut", [](const std::wstring& m) { return m.substr(0, m.empty() ? 0 : m.size() - 1); }},
    {"doubled", [](const std::wstring& m) { return m + m; }},
    {"behind a foreign prefix", [](const std::wstring& m) { return L"MailServers.Nothing." + m; }},
    {"printf directives", [](const std::wstring& m) { return m + L"%s%n%s%ls%d%p"; }},
    {"lone high surrogate", [](const std::wstring& m) { return m + L'\xD800'; }},
    {"lone low surrogate", [](const std::wstring& m) { return L'\xDC00' + m; }},
    {"a pair outside the BMP", [](const std::wstring& m) { return m + L"\xD83D\xDE00"; }},
    {"512K characters", [](const std::wstring& m) {
       std::wstring s;
       while (s.size() < (kHugeStringBytes / 2)) s += m.empty() ? L"x" : m;
       return s;
     }},
};

const char* const kNullAccessors[] = {"null policy id", "null input", "null output", "null name"};

// The member names an unknown key gets.
const std::string kUnknownKeys[] = {"unknownKey", "", "\xED\xA0\x80", std::string("a\0b", 3),
                                    "__proto__"};

template <class T, size_t N>
constexpr size_t CountOf(const T (&)[N]) {
  return N;
}

std::string Compact(const Json::Value& v) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = true;
  return Json::writeString(builder, v);
}

void CollectPaths(const Json::Value& v, Path& at, std::vector<Path>& out) {
  out.push_back(at);
  if (v.isObject()) {
    for (const std::string& name : v.getMemberNames()) {
      at.push_back(Step{false, name, 0});
      CollectPaths(v[name], at, out);
      at.pop_back();
    }
  } else if (v.isArray()) {
    for (Json::ArrayIndex i = 0; i < v.size(); ++i) {
      at.push_back(Step{true, std::string(), i});
      CollectPaths(v[i], at, out);
      at.pop_back();
    }
  }
}

bool IsString(const Json::Value& v) { return v.isString(); }
bool IsNumber(const Json::Value& v) { return v.isNumeric() && !v.isBool(); }
bool IsObject(const Json::Value& v) { return v.isObject(); }
bool IsArray(const Json::Value& v) { return v.isArray(); }
bool IsAny(const Json::Value&) { return true; }

}  // namespace

std::vector<Path> PathsOf(const Json::Value& doc) {
  std::vector<Path> out;
  Path at;
  CollectPaths(doc, at, out);
  return out;
}

Json::Value* Resolve(Json::Value& doc, const Path& path) {
  Json::Value* v = &doc;
  for (const Step& step : path) {
    if (step.isIndex) {
      if (!v->isArray() || step.index >= v->size()) return nullptr;
      v = &(*v)[step.index];
    } else {
      if (!v->isObject() || !v->isMember(step.key)) return nullptr;
      v = &(*v)[step.key];
    }
  }
  return v;
}

std::string PathText(const Path& path) {
  std::ostringstream out;
  for (const Step& step : path) {
    if (step.isIndex) {
      out << '[' << step.index << ']';
    } else {
      if (out.tellp() > 0) out << '.';
      out << step.key;
    }
  }
  return path.empty() ? "the input" : out.str();
}

void Dismantle(Json::Value& value) noexcept {
  std::vector<Json::Value> pending;
  pending.emplace_back();
  pending.back().swap(value);
  while (!pending.empty()) {
    Json::Value last;
    last.swap(pending.back());
    pending.pop_back();
    if (last.isArray() || last.isObject()) {
      for (Json::Value& child : last) {
        pending.emplace_back();
        pending.back().swap(child);
      }
    }
  }
}

Json::Value Nested(size_t depth, bool objects, Json::Value leaf) {
  Json::Value inner(std::move(leaf));
  for (size_t i = 0; i < depth; ++i) {
    Json::Value outer(objects ? Json::objectValue : Json::arrayValue);
    if (objects) {
      outer["a"].swap(inner);
    } else {
      outer.append(Json::Value());
      outer[0].swap(inner);
    }
    inner.swap(outer);
  }
  return inner;
}

Mutator::Mutator(Json::Value seed, std::wstring method, uint64_t seedNumber)
    : seed_(std::move(seed)), method_(std::move(method)), rng_(seedNumber), paths_(PathsOf(seed_)) {
  // The heavy and the call-shape cases once each, first; then every path
  // with every wrong type, removed, and the variants its type calls for.
  const auto first = [this](bool (*accept)(const Json::Value&)) {
    for (size_t i = 0; i < paths_.size(); ++i) {
      if (accept(*Resolve(seed_, paths_[i]))) return i;
    }
    return paths_.size() > 1 ? size_t{1} : size_t{0};
  };
  for (size_t c = 0; c < CountOf(kHugeStrings); ++c) sweep_.push_back({Kind::kHugeString, first(IsString), c});
  for (size_t c = 0; c < CountOf(kHugeArrays); ++c) sweep_.push_back({Kind::kHugeArray, first(IsArray), c});
  for (size_t c = 0; c < CountOf(kDeepNestings); ++c) {
    sweep_.push_back({Kind::kDeepNesting, paths_.size() > 1 ? size_t{1} : size_t{0}, c});
  }
  for (size_t c = 0; c < CountOf(kMethodNames); ++c) sweep_.push_back({Kind::kMethodName, 0, c});
  for (size_t c = 0; c < CountOf(kNullAccessors); ++c) sweep_.push_back({Kind::kNullAccessor, 0, c});
  const size_t fixed = sweep_.size();
  for (size_t p = 0; p < paths_.size(); ++p) {
    const Json::Value& v = *Resolve(seed_, paths_[p]);
    for (size_t c = 0; c < CountOf(kWrongTypes); ++c) sweep_.push_back({Kind::kWrongType, p, c});
    if (p != 0) sweep_.push_back({Kind::kRemoveKey, p, 0});
    if (v.isString()) {
      for (size_t c = 0; c < CountOf(kUnknownNames); ++c) sweep_.push_back({Kind::kUnknownName, p, c});
      sweep_.push_back({Kind::kBrokenText, p, 0});
      sweep_.push_back({Kind::kEmbeddedNul, p, 0});
    }
    if (IsNumber(v)) {
      for (size_t c = 0; c < CountOf(kNumberLimits); ++c) sweep_.push_back({Kind::kNumberLimit, p, c});
    }
    if (v.isObject()) {
      sweep_.push_back({Kind::kUnknownKey, p, 0});
      if (!v.empty()) sweep_.push_back({Kind::kDuplicateKey, p, 0});
    }
  }
  std::shuffle(sweep_.begin() + static_cast<std::ptrdiff_t>(fixed), sweep_.end(), rng_);
}

size_t Mutator::PathOfType(bool (*accept)(const Json::Value&)) {
  std::vector<size_t> fit;
  for (size_t i = 0; i < paths_.size(); ++i) {
    if (accept(*Resolve(seed_, paths_[i]))) fit.push_back(i);
  }
  return fit.empty() ? Below(paths_.size()) : fit[Below(fit.size())];
}

Mutator::Planned Mutator::Random(bool heavy) {
  // Weights per kind, in the order of Kind: the cheap structural cases most,
  // the heavy ones rarely, and never stacked (a later mutation would copy a
  // deep tree recursively).
  const unsigned h = heavy ? 1 : 0;
  const unsigned weights[] = {24, 10, 10, 16, h, 5, 7, h, h, 4, 8, 5, 2};
  static_assert(CountOf(weights) == static_cast<size_t>(Kind::kCount), "one weight per kind");
  std::discrete_distribution<size_t> pick(std::begin(weights), std::end(weights));
  const Kind kind = static_cast<Kind>(pick(rng_));
  switch (kind) {
    case Kind::kUnknownName:
    case Kind::kEmbeddedNul:
    case Kind::kBrokenText:
    case Kind::kHugeString:
      return {kind, PathOfType(IsString), static_cast<size_t>(rng_())};
    case Kind::kNumberLimit:
      return {kind, PathOfType(Below(4) == 0 ? IsAny : IsNumber), static_cast<size_t>(rng_())};
    case Kind::kUnknownKey:
    case Kind::kDuplicateKey:
      return {kind, PathOfType(IsObject), static_cast<size_t>(rng_())};
    case Kind::kHugeArray:
      return {kind, PathOfType(IsArray), static_cast<size_t>(rng_())};
    default:
      return {kind, Below(paths_.size()), static_cast<size_t>(rng_())};
  }
}

void Mutator::Apply(const Planned& plan, Mutant& mutant) {
  const Path& path = paths_[plan.path];
  Json::Value* target = Resolve(mutant.input, path);
  if (target == nullptr) return;  // an earlier mutation took it away
  const std::string at = " at " + PathText(path);
  const auto replace = [&](const auto& table, const char* kind) {
    const auto& variant = table[plan.choice % CountOf(table)];
    Json::Value made = variant.make(*target);
    Dismantle(*target);
    target->swap(made);
    mutant.what += std::string(kind) + at + ": " + variant.label + "; ";
  };
  switch (plan.kind) {
    case Kind::kWrongType: return replace(kWrongTypes, "wrong type");
    case Kind::kUnknownName: return replace(kUnknownNames, "unknown name");
    case Kind::kNumberLimit: return replace(kNumberLimits, "number");
    case Kind::kHugeString: mutant.heavy = true; return replace(kHugeStrings, "huge string");
    case Kind::kEmbeddedNul: return replace(kEmbeddedNuls, "embedded NUL");
    case Kind::kBrokenText: return replace(kBrokenTexts, "broken UTF-8");
    case Kind::kHugeArray: mutant.heavy = true; return replace(kHugeArrays, "huge array");
    case Kind::kDeepNesting: mutant.heavy = true; return replace(kDeepNestings, "deep nesting");
    case Kind::kRemoveKey: {
      if (path.empty()) return replace(kWrongTypes, "wrong type");
      Path parentPath(path.begin(), path.end() - 1);
      Json::Value* parent = Resolve(mutant.input, parentPath);
      if (parent == nullptr) return;
      Json::Value removed;
      if (path.back().isIndex) {
        parent->removeIndex(path.back().index, &removed);
      } else {
        parent->removeMember(path.back().key, &removed);
      }
      Dismantle(removed);
      mutant.what += "removed" + at + "; ";
      return;
    }
    case Kind::kUnknownKey: {
      if (!target->isObject()) return replace(kWrongTypes, "wrong type");
      const std::string& key = kUnknownKeys[plan.choice % CountOf(kUnknownKeys)];
      (*target)[key] = kWrongTypes[(plan.choice / 8) % CountOf(kWrongTypes)].make(Json::Value(1));
      mutant.what += "unknown key" + at + ": \"" + key + "\"; ";
      return;
    }
    case Kind::kDuplicateKey: {
      if (!target->isObject() || target->empty()) return replace(kWrongTypes, "wrong type");
      const std::vector<std::string> names = target->getMemberNames();
      const std::string& name = names[plan.choice % names.size()];
      const auto& variant = kWrongTypes[(plan.choice / 7) % CountOf(kWrongTypes)];
      const std::string duplicate = Compact(Json::Value(name)) + ":" + Compact(variant.make((*target)[name]));
      if ((plan.choice / 3) % 3 == 0) {
        // The same name with its first letter's case flipped, beside it.
        std::string other = name;
        if (!other.empty()) other[0] = static_cast<char>(std::isupper(static_cast<unsigned char>(other[0])) ? std::tolower(static_cast<unsigned char>(other[0])) : std::toupper(static_cast<unsigned char>(other[0])));
        (*target)[other] = variant.make((*target)[name]);
        mutant.what += "case-variant duplicate key" + at + ": \"" + other + "\" = " + variant.label + "; ";
        return;
      }
      // As the manager's parser would take a text naming the key twice.
      std::string text = Compact(*target);
      const bool last = (plan.choice / 3) % 3 == 1;
      text = last ? text.substr(0, text.size() - 1) + "," + duplicate + "}"
                  : "{" + duplicate + "," + text.substr(1);
      Json::CharReaderBuilder builder;
      std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
      Json::Value parsed;
      std::string errors;
      if (!reader->parse(text.data(), text.data() + text.size(), &parsed, &errors)) return;
      target->swap(parsed);
      mutant.what += std::string("duplicate key") + at + ": \"" + name + "\" " + variant.label +
                     (last ? " after" : " before") + " the original; ";
      return;
    }
    case Kind::kMethodName: {
      const MethodVariant& variant = kMethodNames[plan.choice % CountOf(kMethodNames)];
      mutant.method = variant.make(method_);
      mutant.what += std::string("method name: ") + variant.label + "; ";
      return;
    }
    case Kind::kNullAccessor: {
      const size_t which = plan.choice % CountOf(kNullAccessors);
      mutant.nullPolicy = which == 0;
      mutant.nullInput = which == 1;
      mutant.nullOutput = which == 2;
      mutant.nullName = which == 3;
      mutant.what += std::string(kNullAccessors[which]) + "; ";
      return;
    }
    case Kind::kCount: return;
  }
}

Mutant Mutator::Next() {
  Mutant mutant;
  mutant.input = seed_;
  mutant.method = method_;
  if (next_ < sweep_.size()) {
    Apply(sweep_[next_++], mutant);
    return mutant;
  }
  // Now and then several at once, so that one refusal does not hide another.
  const size_t count = Below(8) == 0 ? 2 + Below(3) : 1;
  for (size_t i = 0; i < count; ++i) Apply(Random(count == 1), mutant);
  return mutant;
}

}  // namespace kelfuzz
