// The typed primitives against every kind of JSON value, the name tables, lists,
// and the UTF-8 conversion underneath the strings.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "agent/json/json_enum.h"
#include "agent/json/json_primitives.h"
#include "frame/text_convert.h"
#include "tests/agent/json_test_util.h"

namespace {

using EnterpriseIntegration::EnumNames;
using EnterpriseIntegration::FlagNames;
using EnterpriseIntegration::LoadAt;
using EnterpriseIntegration::SaveAt;
using json_test::Canonical;
using json_test::Compact;
using json_test::Parse;

constexpr uint32_t kSentinel32 = 0x5A5A5A5A;
constexpr uint64_t kSentinel64 = 0x5A5A5A5A5A5A5A5Aull;

// What each integer, boolean and string primitive makes of one JSON value;
// nullopt: the load fails.
struct Row {
  const char* json;
  bool unsignedForm;  // built from an unsigned C++ value, as a plug-in answer would be
  std::optional<bool> asBool;
  std::optional<uint32_t> asUInt32;
  std::optional<int32_t> asInt32;
  std::optional<uint64_t> asUInt64;
  std::optional<int64_t> asInt64;
  const wchar_t* asString;  // null: fails
};

constexpr auto no = std::nullopt;

const Row kRows[] = {
    // JSON text, unsigned form; then as bool, uint32, int32, uint64, int64, string.
    {"null", false, no, no, no, no, no, nullptr},
    {"true", false, true, no, no, no, no, nullptr},
    {"0", false, false, 0u, 0, 0u, 0, L"0"},
    {"-1", false, true, 0xFFFFFFFFu, -1, ~0ull, -1, L"-1"},
    {"42", true, true, 42u, 42, 42u, 42, L"42"},
    {"-2147483648", false, true, 0x80000000u, std::numeric_limits<int32_t>::min(),
     0xFFFFFFFF80000000ull, -2147483648ll, L"-2147483648"},
    {"4294967295", true, true, 4294967295u, no, 4294967295u, 4294967295ll, L"4294967295"},
    {"4294967296", false, true, no, no, 4294967296u, 4294967296ll, L"4294967296"},
    {"-2147483649", false, true, no, no, 0xFFFFFFFF7FFFFFFFull, -2147483649ll, L"-2147483649"},
    {"-9223372036854775808", false, true, no, no, 0x8000000000000000ull,
     std::numeric_limits<int64_t>::min(), L"-9223372036854775808"},
    {"18446744073709551615", false, true, no, no, ~0ull, no, L"18446744073709551615"},
    {"3.0", false, no, no, no, no, no, nullptr},
    {"\"42\"", false, no, no, no, no, no, L"42"},
    {"[1]", false, no, no, no, no, no, nullptr},
};

TEST(JsonPrimitivesTest, EveryPrimitiveAgainstEveryKindOfValue) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::string(row.json) + (row.unsignedForm ? " (unsigned)" : ""));
    Json::Value value = Parse(row.json);
    if (row.unsignedForm) value = Json::Value(static_cast<Json::UInt64>(value.asUInt64()));
    Json::Value doc(Json::objectValue);
    doc["key"] = value;

    // Integer loads, the boolean's included, reset the target first, so a
    // failure leaves 0 behind.
    uint8_t byte = 0x5A;
    EXPECT_EQ(LoadAt(&doc, "key", byte), row.asBool.has_value());
    EXPECT_EQ(byte, row.asBool.value_or(false) ? 1 : 0);
    uint32_t u32 = kSentinel32;
    EXPECT_EQ(LoadAt(&doc, "key", u32), row.asUInt32.has_value());
    EXPECT_EQ(u32, row.asUInt32.value_or(0));
    int32_t i32 = static_cast<int32_t>(kSentinel32);
    EXPECT_EQ(LoadAt(&doc, "key", i32), row.asInt32.has_value());
    EXPECT_EQ(i32, row.asInt32.value_or(0));
    uint64_t u64 = kSentinel64;
    EXPECT_EQ(LoadAt(&doc, "key", u64), row.asUInt64.has_value());
    EXPECT_EQ(u64, row.asUInt64.value_or(0));
    int64_t i64 = static_cast<int64_t>(kSentinel64);
    EXPECT_EQ(LoadAt(&doc, "key", i64), row.asInt64.has_value());
    EXPECT_EQ(i64, row.asInt64.value_or(0));

    // A failed string load leaves the target as it was.
    kel::StringW text(L"before");
    EXPECT_EQ(LoadAt(&doc, "key", text), row.asString != nullptr);
    EXPECT_EQ(text, row.asString != nullptr ? row.asString : L"before");
  }
}

TEST(JsonPrimitivesTest, AMissingPathFailsAndResetsIntegersOnly) {
  const Json::Value doc = Parse(R"({"key": {"inner": 1}})");
  kel::StringW text(L"kept");
  for (const char* path : {"absent", "key[0]", "key/inner/x", "key["}) {
    SCOPED_TRACE(path);
    uint32_t u32 = kSentinel32;
    EXPECT_FALSE(LoadAt(&doc, path, u32));
    EXPECT_EQ(u32, 0u);
    EXPECT_FALSE(LoadAt(&doc, path, text));
    EXPECT_EQ(text, L"kept");
  }
  uint32_t u32 = kSentinel32;
  EXPECT_FALSE(LoadAt(nullptr, "", u32));
  EXPECT_EQ(u32, 0u);
}

TEST(JsonPrimitivesTest, SavesWriteTheDocumentedTypesAndReplaceWhatWasThere) {
  Json::Value doc = Parse(R"({"b": {"old": 1}, "u": "old", "s": [1, 2]})");
  EXPECT_TRUE(SaveAt(doc, "b", uint8_t{7}));
  EXPECT_TRUE(SaveAt(doc, "u", uint32_t{4000000000u}));
  EXPECT_TRUE(SaveAt(doc, "i", int32_t{-5}));
  EXPECT_TRUE(SaveAt(doc, "s", kel::StringW(L"Gr\u00FC\u00DFe \U0001D11E")));
  EXPECT_TRUE(SaveAt(doc, "z", kel::StringW(std::wstring(L"a\0b", 3))));  // the zero is kept
  EXPECT_EQ(doc["b"].type(), Json::booleanValue);
  EXPECT_EQ(doc["u"].type(), Json::uintValue);
  EXPECT_EQ(Compact(doc), Canonical(R"({"b": true, "u": 4000000000, "i": -5,
      "s": "Gr\u00FC\u00DFe \uD834\uDD1E", "z": "a\u0000b"})"));
  kel::StringW text;
  ASSERT_TRUE(LoadAt(&doc, "z", text));
  EXPECT_EQ(text.Length(), 3u);
}

// The text forms themselves are the value types' own; here only the JSON side.
TEST(JsonPrimitivesTest, GuidsAndAddressesTravelAsStringsOnly) {
  Json::Value doc = Parse(R"({"guid": "{0123abcd-4567-89ab-cdef-0123456789ab}", "number": 7,
                              "net": "10.1.2.3/24"})");
  const char withZero[] = "10.1.2.3\0/99";
  doc["zero"] = Json::Value(withZero, withZero + sizeof withZero - 1);
  kel::Guid guid;
  ASSERT_TRUE(LoadAt(&doc, "guid", guid));
  EXPECT_EQ(guid.high, 0x0123abcd456789abull);
  EXPECT_EQ(guid.low, 0xcdef0123456789abull);
  kel::nusdk::Network::IPv4 net, bad;
  ASSERT_TRUE(LoadAt(&doc, "net", net));
  // The text after a zero must not slip past the parser.
  for (const char* key : {"number", "zero"}) {
    EXPECT_FALSE(LoadAt(&doc, key, guid)) << key;
    EXPECT_FALSE(LoadAt(&doc, key, bad)) << key;
  }
  Json::Value out;
  ASSERT_TRUE(SaveAt(out, "id", guid));
  ASSERT_TRUE(SaveAt(out, "net", net));
  EXPECT_EQ(Compact(out), R"({"id":"0123abcd-4567-89ab-cdef-0123456789ab","net":"10.1.2.3/24"})");
}

enum class Verdict : uint32_t { kReject = 0, kRedirect = 1, kDeliver = 3, kUnnamed = 9 };

constexpr auto kVerdictNames = EnumNames({
    {0, "rejectOrDeleteEmail"},
    {1, "redirectEmail"},
    {3, "deliverEmail"},
});
constexpr auto kTraffic = FlagNames({
    {1, "incoming"},
    {2, "outgoing"},
    {4, "internal"},
});

TEST(JsonEnumTest, EnumerationsMatchNamesExactlyAndUnnamedCodesAreLeftOut) {
  const Json::Value doc = Parse(R"({"a": "redirectEmail", "b": "RedirectEmail", "c": "redirect",
      "d": 1, "e": null, "f": ["redirectEmail"]})");
  Verdict verdict = Verdict::kReject;
  ASSERT_TRUE(LoadAt(&doc, "a", verdict, kVerdictNames));
  EXPECT_EQ(verdict, Verdict::kRedirect);
  for (const char* key : {"b", "c", "d", "e", "f", "missing"}) {
    EXPECT_FALSE(LoadAt(&doc, key, verdict, kVerdictNames)) << key;
    EXPECT_EQ(verdict, Verdict::kRedirect);
  }

  Json::Value out(Json::objectValue);
  EXPECT_TRUE(SaveAt(out, "action", Verdict::kDeliver, kVerdictNames));
  EXPECT_FALSE(SaveAt(out, "action", Verdict::kUnnamed, kVerdictNames));
  EXPECT_EQ(Compact(out), R"({"action":"deliverEmail"})");
}

// Both forms refuse what is not a name. Known and unknown names, case and the
// empty set are the transport rule tables' and the filters' scripts' cases.
TEST(JsonEnumTest, FlagSetsAreArraysOfNamesWithAtLeastOneFlag) {
  struct Case {
    const char* json;
    std::optional<uint32_t> strict, lenient;
  };
  const Case cases[] = {
      {R"(["outgoing", "incoming"])", 3u, 3u},
      {R"("outgoing")", no, no},
      {"[2]", no, no},
      {R"(["outgoing", 2])", no, no},
      {R"(["outgoing", {}])", no, no},
      {R"([null, "incoming"])", no, no},
  };
  for (const Case& c : cases) {
    Json::Value doc(Json::objectValue);
    doc["key"] = Parse(c.json);
    for (const bool lenient : {false, true}) {
      const std::optional<uint32_t>& expected = lenient ? c.lenient : c.strict;
      uint32_t flags = kSentinel32;
      EXPECT_EQ(LoadAt(&doc, "key", flags, lenient ? kTraffic.SkippingUnknownNames() : kTraffic),
                expected.has_value())
          << c.json << " " << lenient;
      EXPECT_EQ(flags, expected.value_or(kSentinel32)) << c.json << " " << lenient;
    }
  }

  // Saving writes the named bits in ascending code order.
  Json::Value out(Json::objectValue);
  EXPECT_TRUE(SaveAt(out, "two", 5u, kTraffic));
  EXPECT_TRUE(SaveAt(out, "unnamed", 8u | 2u, kTraffic));
  EXPECT_EQ(Compact(out), R"({"two":["incoming","internal"],"unnamed":["outgoing"]})");
}

TEST(JsonListTest, EmptyArrayLoadsAsAnEmptyListButNullAndOtherTypesFail) {
  const Json::Value doc = Parse(R"({"empty": [], "null": null, "object": {"0": "a"},
      "names": ["a", "b"], "mixed": ["a", 1, true]})");
  kel::List<kel::StringW> list;
  list.EmplaceBack(L"stale");
  // A list that is not there, or not an array, is left alone.
  for (const char* key : {"null", "object", "missing"}) {
    EXPECT_FALSE(LoadAt(&doc, key, list)) << key;
    EXPECT_EQ(list.Count(), 1u);
  }
  ASSERT_TRUE(LoadAt(&doc, "empty", list));
  EXPECT_TRUE(list.IsEmpty());
  ASSERT_TRUE(LoadAt(&doc, "names", list));
  EXPECT_EQ(*list.LastConst(), L"b");
  // An element of the wrong type fails the list; integers are strings here.
  ASSERT_FALSE(LoadAt(&doc, "mixed", list));
  EXPECT_EQ(list.Count(), 3u);  // what loaded stays; callers discard it
}

TEST(JsonListTest, AnUnnamedElementSavesAsNullInItsPlace) {
  kel::List<Verdict> verdicts;
  verdicts.EmplaceBack(Verdict::kRedirect);
  verdicts.EmplaceBack(Verdict::kUnnamed);
  verdicts.EmplaceBack(Verdict::kReject);
  Json::Value doc(Json::objectValue);
  ASSERT_TRUE(SaveAt(doc, "verdicts", verdicts, kVerdictNames));
  EXPECT_EQ(Compact(doc), R"({"verdicts":["redirectEmail",null,"rejectOrDeleteEmail"]})");
}

TEST(TextConvertTest, InvalidUtf8BecomesOneReplacementPerMaximalBadSequence) {
  const std::pair<std::string, std::wstring> cases[] = {
      {"\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E", L"\u00E9\u20AC\xD834\xDD1E"},
      {"\x80", L"\xFFFD"},                      // stray continuation
      {"\xED\xA0\x80", L"\xFFFD\xFFFD\xFFFD"},  // an encoded surrogate
      {"\xE2\x82", L"\xFFFD"},                  // truncated at the end
      {"\xF0\x9D\x84\xF0\x9D\x84\x9E", L"\xFFFD\xD834\xDD1E"},
  };
  for (const auto& c : cases) EXPECT_EQ(kel::WideFromUtf8(c.first), c.second) << c.first;
  // Unpaired surrogates become replacements the other way.
  EXPECT_EQ(kel::Utf8FromWide(std::wstring(L"\xDD1E\xD834\x78")), "\xEF\xBF\xBD\xEF\xBF\xBDx");
}

TEST(TextConvertTest, EveryCodePointSurvivesTheRoundTrip) {
  std::wstring all;
  for (uint32_t code = 1; code <= 0x10FFFF; ++code) {
    if (code >= 0xD800 && code <= 0xDFFF) continue;
    if (code < 0x10000) {
      all += static_cast<wchar_t>(code);
    } else {
      all += static_cast<wchar_t>(0xD800 + ((code - 0x10000) >> 10));
      all += static_cast<wchar_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
    }
  }
  EXPECT_EQ(kel::WideFromUtf8(kel::Utf8FromWide(all)), all);
}

}  // namespace
