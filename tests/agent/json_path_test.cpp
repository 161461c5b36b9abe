// Key paths: reading walks without changing anything, saving creates what is
// missing, and a malformed path fails both ways.
#include <gtest/gtest.h>

#include <string>

#include "agent/json/json_path.h"
#include "tests/agent/json_test_util.h"

namespace {

using EnterpriseIntegration::FindNode;
using EnterpriseIntegration::IsWellFormedPath;
using EnterpriseIntegration::JsonNodeRef;
using EnterpriseIntegration::kMaxSaveIndexGap;
using EnterpriseIntegration::ResolveForSave;
using json_test::Canonical;
using json_test::Compact;
using json_test::Parse;

// Schemas rely on this to reject a bad key when they are compiled.
static_assert(IsWellFormedPath("onDetection/stopProcessing"));
static_assert(IsWellFormedPath("servers[12]"));
static_assert(!IsWellFormedPath("servers[12"));

const char kDocument[] = R"({
  "a": {"b": [10, {"c": "x"}]},
  "n": null,
  "s": "text",
  "e": []
})";

TEST(JsonPathTest, FindsMembersAndElementsWithEitherSeparator) {
  const Json::Value doc = Parse(kDocument);
  const Json::Value& c = doc["a"]["b"][1]["c"];
  EXPECT_EQ(FindNode(&doc, "a/b[1]/c"), &c);
  EXPECT_EQ(FindNode(&doc, "a\\b[1]\\c"), &c);
  EXPECT_EQ(FindNode(&doc, "a/b[1]\\c"), &c);
  // A leading separator, and empty segments anywhere, are passed over.
  EXPECT_EQ(FindNode(&doc, "/a/b[1]/c"), &c);
  EXPECT_EQ(FindNode(&doc, "\\a//b[1]/c/"), &c);
  // An index on its own indexes the node reached so far.
  EXPECT_EQ(FindNode(&doc, "a/b/[1]/c"), &c);
  EXPECT_EQ(FindNode(&doc, "a/b[0]"), &doc["a"]["b"][0]);
  // The empty path is the node itself.
  EXPECT_EQ(FindNode(&doc, ""), &doc);
  EXPECT_EQ(FindNode(&doc, "/"), &doc);
  // A member holding null is present.
  EXPECT_EQ(FindNode(&doc, "n"), &doc["n"]);
}

TEST(JsonPathTest, AbsentWhenAnyStepDoesNotHold) {
  const Json::Value doc = Parse(kDocument);
  EXPECT_EQ(FindNode(nullptr, "a"), nullptr);
  EXPECT_EQ(FindNode(nullptr, ""), nullptr);
  EXPECT_EQ(FindNode(&doc, "missing"), nullptr);
  EXPECT_EQ(FindNode(&doc, "a/missing"), nullptr);
  // A member of an array, a string, null or a number.
  EXPECT_EQ(FindNode(&doc, "a/b/c"), nullptr);
  EXPECT_EQ(FindNode(&doc, "s/x"), nullptr);
  EXPECT_EQ(FindNode(&doc, "n/x"), nullptr);
  EXPECT_EQ(FindNode(&doc, "a/b[0]/x"), nullptr);
  // An index of an object, of a string, or past the end.
  EXPECT_EQ(FindNode(&doc, "a[0]"), nullptr);
  EXPECT_EQ(FindNode(&doc, "s[0]"), nullptr);
  EXPECT_EQ(FindNode(&doc, "a/b[2]"), nullptr);
  EXPECT_EQ(FindNode(&doc, "e[0]"), nullptr);
  EXPECT_EQ(FindNode(&doc, "a/b[4294967295]"), nullptr);
  // Names are exact.
  EXPECT_EQ(FindNode(&doc, "A"), nullptr);
  EXPECT_EQ(FindNode(&doc, " a"), nullptr);
}

TEST(JsonPathTest, MalformedPathsFailForReadingAndForSaving) {
  const char* const malformed[] = {"a[",
                                   "a/b[1",
                                   "a]",
                                   "a/b]",
                                   "a/b[]",
                                   "a/b[-1]",
                                   "a/b[+1]",
                                   "a/b[1x]",
                                   "a/b[0x1]",
                                   "a/b[1]c",
                                   "a/b[1][0]",
                                   "a/b[ 1]",
                                   "a/b[1 ]",
                                   "[",
                                   "]",
                                   "a/b[4294967296]",
                                   "a/b[99999999999999999999]"};
  for (const char* path : malformed) {
    SCOPED_TRACE(path);
    EXPECT_FALSE(IsWellFormedPath(path));
    Json::Value doc = Parse(kDocument);
    EXPECT_EQ(FindNode(&doc, path), nullptr);
    EXPECT_EQ(ResolveForSave(doc, path), nullptr);
    // Nothing was created on the way to the bad segment.
    EXPECT_EQ(Compact(doc), Canonical(kDocument));
  }
}

TEST(JsonPathTest, SavingIntoAnEmptyObjectCreatesIntermediateObjects) {
  Json::Value doc(Json::objectValue);
  Json::Value* slot = ResolveForSave(doc, "onDetection/stopProcessing");
  ASSERT_NE(slot, nullptr);
  *slot = true;
  EXPECT_EQ(Compact(doc), Canonical(R"({"onDetection": {"stopProcessing": true}})"));
  // The same walk again finds what it made, and a sibling joins it.
  EXPECT_EQ(ResolveForSave(doc, "\\onDetection\\stopProcessing"), slot);
  *ResolveForSave(doc, "onDetection/mainAction/action") = "deliverEmail";
  EXPECT_EQ(Compact(doc), Canonical(R"({"onDetection": {"mainAction": {"action": "deliverEmail"},
                                                         "stopProcessing": true}})"));
}

TEST(JsonPathTest, SavingReplacesWhatIsInTheWayAndGrowsArraysWithNulls) {
  Json::Value doc = Parse(R"({"number": 5, "list": [1], "text": "t", "nothing": null})");
  *ResolveForSave(doc, "number/x") = 1;       // a number becomes an object
  *ResolveForSave(doc, "list[3]") = 4;        // elements 1 and 2 appear as null
  *ResolveForSave(doc, "text[0]") = "first";  // a string becomes an array
  *ResolveForSave(doc, "nothing/a[1]/b") = true;
  *ResolveForSave(doc, "fresh[0]") = 0;
  EXPECT_EQ(Compact(doc), Canonical(R"({
    "number": {"x": 1},
    "list": [1, null, null, 4],
    "text": ["first"],
    "nothing": {"a": [null, {"b": true}]},
    "fresh": [0]
  })"));
  // An array inside an array is reached by an index segment of its own.
  *ResolveForSave(doc, "fresh[0]/[1]") = 9;
  EXPECT_EQ(Compact(doc["fresh"]), "[[null,9]]");
  // A member added to an array replaces the array.
  *ResolveForSave(doc, "list/x") = 2;
  EXPECT_EQ(Compact(doc["list"]), R"({"x":2})");
}

TEST(JsonPathTest, SavingRefusesAnIndexFarBeyondTheEnd) {
  const std::string within = "list[" + std::to_string(1 + kMaxSaveIndexGap) + "]";
  const std::string beyond = "list[" + std::to_string(2 + kMaxSaveIndexGap) + "]";
  const char* const refused[] = {"list[4294967294]", "list[4294967295]", "new/list[4294967295]"};
  for (const char* path : refused) {
    SCOPED_TRACE(path);
    Json::Value doc = Parse(R"({"list": [1]})");
    EXPECT_EQ(ResolveForSave(doc, path), nullptr);
    EXPECT_EQ(Compact(doc), R"({"list":[1]})");
  }
  Json::Value doc = Parse(R"({"list": [1]})");
  EXPECT_EQ(ResolveForSave(doc, beyond), nullptr);
  EXPECT_EQ(doc["list"].size(), 1u);
  ASSERT_NE(ResolveForSave(doc, within), nullptr);
  EXPECT_EQ(doc["list"].size(), 2 + kMaxSaveIndexGap);
}

TEST(JsonPathTest, TensOfThousandsOfLevelsAreWalkedWithoutRecursion) {
  constexpr int kLevels = 20000;
  std::string path;
  Json::Value deep;
  Json::Value* current = &deep;
  for (int i = 0; i < kLevels; ++i) {
    path += i % 2 == 0 ? "/n" : "\\n";
    current = &(*current)["n"];
  }
  *current = "bottom";
  const Json::Value* found = FindNode(&deep, path);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->asString(), "bottom");
  EXPECT_EQ(FindNode(&deep, path + "/more"), nullptr);

  Json::Value made(Json::objectValue);
  Json::Value* slot = ResolveForSave(made, path);
  ASSERT_NE(slot, nullptr);
  *slot = "made";
  EXPECT_EQ(FindNode(&made, path), slot);

  json_test::Dismantle(deep);
  json_test::Dismantle(made);
}

TEST(JsonNodeRefTest, ChildCarriesItsOwnKeyAndAnElementItsIndex) {
  const Json::Value doc = Parse(kDocument);
  const JsonNodeRef root(&doc);
  const JsonNodeRef child(root, "a/b");
  EXPECT_EQ(child.node(), &doc["a"]["b"]);
  EXPECT_EQ(child.KeyText(), "a/b");
  const JsonNodeRef element = JsonNodeRef::Element(&doc["a"]["b"][1], "servers", 1);
  EXPECT_EQ(element.key(), "servers");
  EXPECT_EQ(element.KeyText(), "servers[1]");
  // Absence carries through, with the key kept for the log.
  const JsonNodeRef missing(root, "missing");
  EXPECT_TRUE(missing.IsAbsent());
  const JsonNodeRef below(missing, "c");
  EXPECT_TRUE(below.IsAbsent());
  EXPECT_EQ(below.KeyText(), "c");
}

}  // namespace
