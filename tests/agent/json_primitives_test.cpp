// The typed primitives against every kind of JSON value, the name tables, lists,
// and the UTF-8 conversion underneath the strings.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

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

// One JSON value and what each integer, boolean and string primitive makes of
// it; nullopt: the load fails.
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
constexpr int64_t kInt64Min = std::numeric_limits<int64_t>::min();

const Row kRows[] = {
    // JSON text, unsigned form; then as bool, uint32, int32, uint64, int64, string.
    {"null", false, no, no, no, no, no, nullptr},
    {"true", false, true, no, no, no, no, nullptr},
    {"false", false, false, no, no, no, no, nullptr},
    {"0", false, false, 0u, 0, 0u, 0, L"0"},
    {"1", false, true, 1u, 1, 1u, 1, L"1"},
    {"-1", false, true, 0xFFFFFFFFu, -1, ~0ull, -1, L"-1"},
    {"42", false, true, 42u, 42, 42u, 42, L"42"},
    {"42", true, true, 42u, 42, 42u, 42, L"42"},
    {"2147483647", false, true, 2147483647u, 2147483647, 2147483647u, 2147483647, L"2147483647"},
    {"-2147483648", false, true, 0x80000000u, std::numeric_limits<int32_t>::min(),
     0xFFFFFFFF80000000ull, -2147483648ll, L"-2147483648"},
    {"4294967295", false, true, 4294967295u, no, 4294967295u, 4294967295ll, L"4294967295"},
    {"4294967295", true, true, 4294967295u, no, 4294967295u, 4294967295ll, L"4294967295"},
    {"4294967296", false, true, no, no, 4294967296u, 4294967296ll, L"4294967296"},
    {"-2147483649", false, true, no, no, 0xFFFFFFFF7FFFFFFFull, -2147483649ll, L"-2147483649"},
    {"-9223372036854775808", false, true, no, no, 0x8000000000000000ull, kInt64Min,
     L"-9223372036854775808"},
    {"18446744073709551615", false, true, no, no, ~0ull, no, L"18446744073709551615"},
    {"3.0", false, no, no, no, no, no, nullptr},
    {"3.5", false, no, no, no, no, no, nullptr},
    {"-0.0", false, no, no, no, no, no, nullptr},
    {"\"42\"", false, no, no, no, no, no, L"42"},
    {"\"true\"", false, no, no, no, no, no, L"true"},
    {"\"\"", false, no, no, no, no, no, L""},
    {"[1]", false, no, no, no, no, no, nullptr},
    {"[]", false, no, no, no, no, no, nullptr},
    {"{\"a\": 1}", false, no, no, no, no, no, nullptr},
    {"{}", false, no, no, no, no, no, nullptr},
};

Json::Value DocumentFor(const Row& row) {
  Json::Value value = Parse(row.json);
  if (row.unsignedForm) value = Json::Value(static_cast<Json::UInt64>(value.asUInt64()));
  Json::Value doc(Json::objectValue);
  doc["key"] = value;
  return doc;
}

TEST(JsonPrimitivesTest, EveryPrimitiveAgainstEveryKindOfValue) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::string(row.json) + (row.unsignedForm ? " (unsigned)" : ""));
    const Json::Value doc = DocumentFor(row);

    // Integer loads, the boolean's included, reset the target first, so a
    // failure leaves 0 behind.
    uint8_t byte = 0x5A;
    EXPECT_EQ(LoadAt(&doc, "key", byte), row.asBool.has_value());
    EXPECT_EQ(byte, row.asBool.value_or(false) ? 1 : 0);
    bool flag = true;
    EXPECT_EQ(LoadAt(&doc, "key", flag), row.asBool.has_value());
    EXPECT_EQ(flag, row.asBool.value_or(false));

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
  uint8_t byte = 1;
  uint32_t u32 = kSentinel32;
  kel::StringW text(L"kept");
  for (const char* path : {"absent", "key/absent", "key[0]", "key/inner/x", "key["}) {
    SCOPED_TRACE(path);
    byte = 1;
    u32 = kSentinel32;
    EXPECT_FALSE(LoadAt(&doc, path, byte));
    EXPECT_EQ(byte, 0);
    EXPECT_FALSE(LoadAt(&doc, path, u32));
    EXPECT_EQ(u32, 0u);
    EXPECT_FALSE(LoadAt(&doc, path, text));
    EXPECT_EQ(text, L"kept");
  }
  EXPECT_FALSE(LoadAt(nullptr, "", u32));
  EXPECT_TRUE(LoadAt(&doc, "key/inner", u32));
  EXPECT_EQ(u32, 1u);
}

TEST(JsonPrimitivesTest, SavesWriteTheDocumentedTypesAndReplaceWhatWasThere) {
  Json::Value doc = Parse(R"({"b": {"old": 1}, "u": "old", "s": [1, 2]})");
  EXPECT_TRUE(SaveAt(doc, "b", uint8_t{7}));
  EXPECT_TRUE(SaveAt(doc, "u", uint32_t{4000000000u}));
  EXPECT_TRUE(SaveAt(doc, "i", int32_t{-5}));
  EXPECT_TRUE(SaveAt(doc, "s", kel::StringW(L"Gr\u00FC\u00DFe \U0001D11E")));
  EXPECT_TRUE(SaveAt(doc, "big", uint64_t{18446744073709551615ull}));
  EXPECT_TRUE(SaveAt(doc, "neg", int64_t{-9000000000ll}));
  EXPECT_EQ(doc["b"].type(), Json::booleanValue);
  EXPECT_EQ(doc["u"].type(), Json::uintValue);
  EXPECT_EQ(doc["i"].type(), Json::intValue);
  EXPECT_EQ(Compact(doc), Canonical(R"({"b": true, "u": 4000000000, "i": -5,
      "s": "Gr\u00FC\u00DFe \uD834\uDD1E", "big": 18446744073709551615, "neg": -9000000000})"));
}

TEST(JsonPrimitivesTest, StringsConvertBetweenUtf8AndWideBothWays) {
  const Json::Value doc = Parse(R"({"s": "caf\u00E9 \u20AC \uD834\uDD1E", "z": "a\u0000b"})");
  kel::StringW text;
  ASSERT_TRUE(LoadAt(&doc, "s", text));
  EXPECT_EQ(text, L"caf\u00E9 \u20AC \xD834\xDD1E");
  ASSERT_TRUE(LoadAt(&doc, "z", text));
  EXPECT_EQ(text.Length(), 3u);  // the zero is kept, not a terminator
  Json::Value out;
  ASSERT_TRUE(SaveAt(out, "z", text));
  EXPECT_EQ(out["z"], doc["z"]);

  // Invalid UTF-8 in a document loads with replacement characters.
  Json::Value raw(Json::objectValue);
  const char bad[] = "a\xC0\xAF\x62\xE2\x82";  // a, overlong, b, truncated
  raw["s"] = Json::Value(bad, bad + sizeof bad - 1);
  ASSERT_TRUE(LoadAt(&raw, "s", text));
  EXPECT_EQ(text, L"a\xFFFD\xFFFD\x62\xFFFD");
}

TEST(JsonPrimitivesTest, GuidsTravelInTheirTextForm) {
  const Json::Value doc = Parse(R"({"braced": "{0123abcd-4567-89ab-cdef-0123456789ab}",
                                    "bare": "0123ABCD-4567-89AB-CDEF-0123456789AB",
                                    "bad": "not a guid", "number": 7})");
  kel::Guid braced, bare;
  ASSERT_TRUE(LoadAt(&doc, "braced", braced));
  ASSERT_TRUE(LoadAt(&doc, "bare", bare));
  EXPECT_EQ(braced, bare);
  EXPECT_EQ(braced.high, 0x0123abcd456789abull);
  EXPECT_EQ(braced.low, 0xcdef0123456789abull);
  kel::Guid untouched{1, 2};
  EXPECT_FALSE(LoadAt(&doc, "bad", untouched));
  EXPECT_FALSE(LoadAt(&doc, "number", untouched));
  EXPECT_EQ(untouched, (kel::Guid{1, 2}));
  Json::Value out;
  ASSERT_TRUE(SaveAt(out, "id", braced));
  EXPECT_EQ(out["id"].asString(), "0123abcd-4567-89ab-cdef-0123456789ab");
}

TEST(JsonPrimitivesTest, AddressesTravelInTheirDottedForm) {
  Json::Value doc = Parse(R"({"net": "10.1.2.3/24", "host": "192.168.0.1", "bad": "10.1.2",
                              "number": 167772161})");
  const char withZero[] = "10.1.2.3\0/99";
  doc["zero"] = Json::Value(withZero, withZero + sizeof withZero - 1);
  kel::nusdk::Network::IPv4 net, host, bad;
  ASSERT_TRUE(LoadAt(&doc, "net", net));
  EXPECT_EQ(net.address, 0x0302010Au);
  EXPECT_EQ(net.prefix, 24u);
  ASSERT_TRUE(LoadAt(&doc, "host", host));
  EXPECT_FALSE(LoadAt(&doc, "bad", bad));
  EXPECT_FALSE(LoadAt(&doc, "number", bad));
  // The text after a zero must not slip past the parser.
  EXPECT_FALSE(LoadAt(&doc, "zero", bad));
  Json::Value out;
  ASSERT_TRUE(SaveAt(out, "net", net));
  EXPECT_EQ(out["net"].asString(), "10.1.2.3/24");
}

enum class Verdict : uint32_t { kReject = 0, kRedirect = 1, kDeliver = 3, kUnnamed = 9 };

constexpr auto kVerdictNames = EnumNames({
    {0, "rejectOrDeleteEmail"},
    {1, "redirectEmail"},
    {3, "deliverEmail"},
});
constexpr auto kAddressForms = FlagNames({
    {1, "connection"},
    {2, "email"},
});
constexpr auto kTraffic = FlagNames({
    {1, "incoming"},
    {2, "outgoing"},
    {4, "internal"},
});

TEST(JsonEnumTest, EnumerationsMatchNamesExactly) {
  const Json::Value doc = Parse(R"({"a": "redirectEmail", "b": "RedirectEmail", "c": "redirect",
      "d": 1, "e": null, "f": ["redirectEmail"], "g": "deliverEmail"})");
  Verdict verdict = Verdict::kReject;
  ASSERT_TRUE(LoadAt(&doc, "a", verdict, kVerdictNames));
  EXPECT_EQ(verdict, Verdict::kRedirect);
  for (const char* key : {"b", "c", "d", "e", "f", "missing"}) {
    SCOPED_TRACE(key);
    EXPECT_FALSE(LoadAt(&doc, key, verdict, kVerdictNames));
    EXPECT_EQ(verdict, Verdict::kRedirect);
  }
  uint32_t code = 0;  // a plain 32-bit member works the same
  ASSERT_TRUE(LoadAt(&doc, "g", code, kVerdictNames));
  EXPECT_EQ(code, 3u);
}

TEST(JsonEnumTest, ACodeWithoutANameIsLeftOutOfTheDocument) {
  Json::Value doc(Json::objectValue);
  EXPECT_TRUE(SaveAt(doc, "action", Verdict::kDeliver, kVerdictNames));
  EXPECT_FALSE(SaveAt(doc, "other", Verdict::kUnnamed, kVerdictNames));
  EXPECT_FALSE(SaveAt(doc, "action", Verdict::kUnnamed, kVerdictNames));
  EXPECT_EQ(Compact(doc), R"({"action":"deliverEmail"})");
}

TEST(JsonEnumTest, FlagSetsAreArraysOfNamesWithAtLeastOneFlag) {
  const Json::Value doc = Parse(R"({
    "both": ["email", "connection"], "twice": ["email", "email"], "upper": ["EMAIL"],
    "mixed": ["email", "EMAIL"], "empty": [], "null": null, "text": "email",
    "number": [2], "nested": [["email"]], "object": {"email": true}})");
  uint32_t flags = kSentinel32;
  ASSERT_TRUE(LoadAt(&doc, "both", flags, kAddressForms));
  EXPECT_EQ(flags, 3u);
  ASSERT_TRUE(LoadAt(&doc, "twice", flags, kAddressForms));
  EXPECT_EQ(flags, 2u);
  for (const char* key :
       {"upper", "mixed", "empty", "null", "text", "number", "nested", "object", "missing"}) {
    SCOPED_TRACE(key);
    flags = kSentinel32;
    EXPECT_FALSE(LoadAt(&doc, key, flags, kAddressForms));
    EXPECT_EQ(flags, kSentinel32);
  }
  // The lenient form passes over unknown names but still needs a known one.
  constexpr auto lenient = kAddressForms.SkippingUnknownNames();
  ASSERT_TRUE(LoadAt(&doc, "mixed", flags, lenient));
  EXPECT_EQ(flags, 2u);
  EXPECT_FALSE(LoadAt(&doc, "upper", flags, lenient));
  EXPECT_FALSE(LoadAt(&doc, "empty", flags, lenient));
  EXPECT_FALSE(LoadAt(&doc, "text", flags, lenient));
}

TEST(JsonEnumTest, FlagSetsSaveTheirNamesInAscendingCodeOrder) {
  Json::Value doc(Json::objectValue);
  EXPECT_TRUE(SaveAt(doc, "all", 7u, kTraffic));
  EXPECT_TRUE(SaveAt(doc, "two", 5u, kTraffic));
  EXPECT_TRUE(SaveAt(doc, "none", 0u, kTraffic));
  EXPECT_TRUE(SaveAt(doc, "unnamed", 8u | 2u, kTraffic));
  EXPECT_EQ(Compact(doc), Canonical(R"({"all": ["incoming", "outgoing", "internal"],
      "two": ["incoming", "internal"], "none": [], "unnamed": ["outgoing"]})"));
}

TEST(JsonListTest, EmptyArrayLoadsAsAnEmptyListButNullAndOtherTypesFail) {
  const Json::Value doc = Parse(R"({"empty": [], "null": null, "object": {"0": "a"},
      "text": "a", "names": ["a", "b"], "mixed": ["a", 1, true]})");
  kel::List<kel::StringW> list;
  list.EmplaceBack(L"stale");
  // A list that is not there, or not an array, is left alone.
  for (const char* key : {"null", "object", "text", "missing"}) {
    SCOPED_TRACE(key);
    EXPECT_FALSE(LoadAt(&doc, key, list));
    EXPECT_EQ(list.Count(), 1u);
  }
  ASSERT_TRUE(LoadAt(&doc, "empty", list));
  EXPECT_TRUE(list.IsEmpty());
  ASSERT_TRUE(LoadAt(&doc, "names", list));
  ASSERT_EQ(list.Count(), 2u);
  EXPECT_EQ(*list.FirstConst(), L"a");
  EXPECT_EQ(*list.LastConst(), L"b");
  // An element of the wrong type fails the list; integers are strings here.
  ASSERT_FALSE(LoadAt(&doc, "mixed", list));
  EXPECT_EQ(list.Count(), 3u);  // what loaded stays; callers discard it
}

TEST(JsonListTest, ListsOfEnumerationsAndEmptyListsSave) {
  kel::List<Verdict> verdicts;
  verdicts.EmplaceBack(Verdict::kRedirect);
  verdicts.EmplaceBack(Verdict::kUnnamed);
  verdicts.EmplaceBack(Verdict::kReject);
  Json::Value doc(Json::objectValue);
  ASSERT_TRUE(SaveAt(doc, "verdicts", verdicts, kVerdictNames));
  ASSERT_TRUE(SaveAt(doc, "none", kel::List<uint32_t>()));
  // An element without a name keeps its place as null.
  EXPECT_EQ(
      Compact(doc),
      Canonical(R"({"verdicts": ["redirectEmail", null, "rejectOrDeleteEmail"], "none": []})"));
  kel::List<Verdict> loaded;
  EXPECT_FALSE(LoadAt(&doc, "verdicts", loaded, kVerdictNames));
  doc["verdicts"][1] = "deliverEmail";
  ASSERT_TRUE(LoadAt(&doc, "verdicts", loaded, kVerdictNames));
  EXPECT_EQ(loaded.Count(), 3u);
  EXPECT_EQ(*loaded.LastConst(), Verdict::kReject);
}

TEST(JsonListTest, AnArrayWithGapsReadsTheGapsAsNull) {
  // jsoncpp keeps arrays sparse when elements are set by index.
  Json::Value doc(Json::objectValue);
  doc["list"][0] = 1u;
  doc["list"][3] = 4u;
  ASSERT_EQ(doc["list"].size(), 4u);
  kel::List<uint32_t> list;
  EXPECT_FALSE(LoadAt(&doc, "list", list));
  EXPECT_EQ(list.Count(), 2u);  // the first element, then the gap that failed
  kel::List<kel::List<uint32_t>> nested;
  doc["nested"][0][0] = 5u;
  doc["nested"][0][1] = 6u;
  doc["nested"][1] = Json::Value(Json::arrayValue);
  ASSERT_TRUE(LoadAt(&doc, "nested", nested));
  ASSERT_EQ(nested.Count(), 2u);
  EXPECT_EQ(nested.FirstConst()->Count(), 2u);
  EXPECT_TRUE(nested.LastConst()->IsEmpty());

  // In a flag set a gap names no flag.
  doc["flags"][0] = "email";
  doc["flags"][2] = "connection";
  uint32_t flags = 0;
  EXPECT_FALSE(LoadAt(&doc, "flags", flags, kAddressForms));
  ASSERT_TRUE(LoadAt(&doc, "flags", flags, kAddressForms.SkippingUnknownNames()));
  EXPECT_EQ(flags, 3u);
}

struct Utf8Case {
  std::string utf8;
  std::wstring wide;
};

TEST(TextConvertTest, InvalidUtf8BecomesOneReplacementPerMaximalBadSequence) {
  const Utf8Case cases[] = {
      {"plain", L"plain"},
      {"\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E", L"\u00E9\u20AC\xD834\xDD1E"},
      {"\x80", L"\xFFFD"},                                // stray continuation
      {"\xC0\xAF", L"\xFFFD\xFFFD"},                      // overlong lead byte
      {"\xE0\x80\x80", L"\xFFFD\xFFFD\xFFFD"},            // overlong three-byte form
      {"\xED\xA0\x80", L"\xFFFD\xFFFD\xFFFD"},            // an encoded surrogate
      {"\xF4\x90\x80\x80", L"\xFFFD\xFFFD\xFFFD\xFFFD"},  // above U+10FFFF
      {"\xF5\xFF", L"\xFFFD\xFFFD"},
      {"\xE2\x82", L"\xFFFD"},          // truncated at the end: one replacement
      {"\xE2\x82\x41", L"\xFFFD\x41"},  // truncated by a new character ("A")
      {"\xF0\x9D\x84\xF0\x9D\x84\x9E", L"\xFFFD\xD834\xDD1E"},
      {std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
  };
  for (const Utf8Case& c : cases) {
    SCOPED_TRACE(c.utf8);
    EXPECT_EQ(kel::WideFromUtf8(c.utf8), c.wide);
  }
}

TEST(TextConvertTest, UnpairedSurrogatesBecomeReplacementsInUtf8) {
  EXPECT_EQ(kel::Utf8FromWide(std::wstring(L"\xD834\xDD1E")), "\xF0\x9D\x84\x9E");
  EXPECT_EQ(kel::Utf8FromWide(std::wstring(L"\xD834")), "\xEF\xBF\xBD");
  EXPECT_EQ(kel::Utf8FromWide(std::wstring(L"\xDD1E\xD834\x78")), "\xEF\xBF\xBD\xEF\xBF\xBDx");
  EXPECT_EQ(kel::Utf8FromWide(std::wstring(L"\u07FF\u0800\uFFFF")),
            "\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
  EXPECT_EQ(kel::Utf8FromWide(std::wstring(L"a\0b", 3)), std::string("a\0b", 3));
  EXPECT_EQ(kel::Utf8FromWide(L"", 0), "");
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
  const std::string utf8 = kel::Utf8FromWide(all);
  EXPECT_EQ(kel::WideFromUtf8(utf8), all);
}

}  // namespace
