// Key paths: reading walks without changing anything, saving creates what is
// missing, and a malformed path fails both ways.
#include <gtest/gtest.h>

#include <string>

#include "agent/json/json_path.h"
#include "tests/agent/json_test_util.h"

namespace {

using EnterpriseIntegration::FindNode;
using EnterpriseIntegration::IsWellFormedPath;
using EnterpriseIntegration::kMaxSaveIndexGap;
using EnterpriseIntegration::ResolveForSave;
using json_test::Canonical;
using json_test::Compact;
using json_test::Parse;

// Schemas rely on this to reject a bad key when they are compiled.
static_assert(IsWellFormedPath("onDetection/stopProcessing"));
static_assert(!IsWellFormedPath("servers[12"));

const char kDocument[] = R"({"a": {"b": [10, {"c": "x"}]}, "n": null, "s": "text", "e": []})";

TEST(JsonPathTest, FindsMembersAndElementsWithEitherSeparator) {
  const Json::Value doc = Parse(kDocument);
  const Json::Value& c = doc["a"]["b"][1]["c"];
  EXPECT_EQ(FindNode(&doc, "a/b[1]\\c"), &c);
  // Empty segments anywhere are passed over; an index on its own indexes the
  // node reached so far.
  EXPECT_EQ(FindNode(&doc, "\\a//b[1]/c/"), &c);
  EXPECT_EQ(FindNode(&doc, "a/b/[1]/c"), &c);
  EXPECT_EQ(FindNode(&doc, ""), &doc);
  // A member holding null is present.
  EXPECT_EQ(FindNode(&doc, "n"), &doc["n"]);
}

TEST(JsonPathTest, AbsentWhenAnyStepDoesNotHold) {
  const Json::Value doc = Parse(kDocument);
  EXPECT_EQ(FindNode(nullptr, "a"), nullptr);
  // Missing, a member of an array / string / null, an index of an object or
  // past the end, and a name that differs in case.
  for (const char* path : {"missing", "a/b/c", "s/x", "n/x", "a[0]", "a/b[2]", "e[0]", "A"}) {
    EXPECT_EQ(FindNode(&doc, path), nullptr) << path;
  }
}

TEST(JsonPathTest, MalformedPathsFailForReadingAndForSaving) {
  for (const char* path : {"a[", "a]", "a/b[]", "a/b[-1]", "a/b[1x]", "a/b[1]c", "a/b[1][0]",
                           "a/b[ 1]", "a/b[4294967296]"}) {
    SCOPED_TRACE(path);
    EXPECT_FALSE(IsWellFormedPath(path));
    Json::Value doc = Parse(kDocument);
    EXPECT_EQ(FindNode(&doc, path), nullptr);
    EXPECT_EQ(ResolveForSave(doc, path), nullptr);
    // Nothing was created on the way to the bad segment.
    EXPECT_EQ(Compact(doc), Canonical(kDocument));
  }
}

TEST(JsonPathTest, SavingReplacesWhatIsInTheWayAndGrowsArraysWithNulls) {
  Json::Value doc = Parse(R"({"number": 5, "list": [1], "text": "t", "nothing": null})");
  *ResolveForSave(doc, "number/x") = 1;       // a number becomes an object
  *ResolveForSave(doc, "list[3]") = 4;        // elements 1 and 2 appear as null
  *ResolveForSave(doc, "text[0]") = "first";  // a string becomes an array
  *ResolveForSave(doc, "nothing/a[1]/b") = true;
  *ResolveForSave(doc, "nothing/a[1]/[1]") = 9;  // an object becomes an array
  EXPECT_EQ(Compact(doc), Canonical(R"({"number": {"x": 1}, "list": [1, null, null, 4],
      "text": ["first"], "nothing": {"a": [null, [null, 9]]}})"));
}

TEST(JsonPathTest, SavingRefusesAnIndexFarBeyondTheEnd) {
  for (const char* path : {"list[4294967295]", "new/list[4294967295]"}) {
    Json::Value doc = Parse(R"({"list": [1]})");
    EXPECT_EQ(ResolveForSave(doc, path), nullptr) << path;
    EXPECT_EQ(Compact(doc), R"({"list":[1]})");
  }
  Json::Value doc = Parse(R"({"list": [1]})");
  EXPECT_EQ(ResolveForSave(doc, "list[" + std::to_string(2 + kMaxSaveIndexGap) + "]"), nullptr);
  EXPECT_EQ(doc["list"].size(), 1u);
  ASSERT_NE(ResolveForSave(doc, "list[" + std::to_string(1 + kMaxSaveIndexGap) + "]"), nullptr);
  EXPECT_EQ(doc["list"].size(), 2 + kMaxSaveIndexGap);
}

}  // namespace
