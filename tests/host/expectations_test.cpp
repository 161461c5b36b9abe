#include "host/kelhost/expectations.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/host/json_text.h"

namespace kelhost {
namespace {

TEST(JsonEqualTest, NumbersCompareByValueWhateverTheirRepresentation) {
  EXPECT_TRUE(JsonEqual(Json::Value(1), Json::Value(1u)));
  EXPECT_TRUE(JsonEqual(Json::Value(1u), Json::Value(1.0)));
  EXPECT_TRUE(JsonEqual(Json::Value(Json::Int64(-5)), Json::Value(-5.0)));
  EXPECT_TRUE(
      JsonEqual(Json::Value(Json::UInt64(UINT64_MAX)), Json::Value(Json::UInt64(UINT64_MAX))));
  // The same bits read as signed and as unsigned are different numbers.
  EXPECT_FALSE(JsonEqual(Json::Value(Json::Int64(-1)), Json::Value(Json::UInt64(UINT64_MAX))));
  EXPECT_FALSE(JsonEqual(Json::Value(1), Json::Value(1.5)));
  // 2^53 + 1 has no double of its own: comparing through double would call these equal.
  EXPECT_FALSE(
      JsonEqual(Json::Value(Json::Int64(9007199254740993LL)), Json::Value(9007199254740992.0)));
  EXPECT_FALSE(
      JsonEqual(Json::Value(Json::UInt64(UINT64_MAX)), Json::Value(18446744073709551616.0)));
}

TEST(JsonEqualTest, OtherTypesNeverEqualNumbers) {
  EXPECT_FALSE(JsonEqual(Json::Value(true), Json::Value(1)));
  EXPECT_FALSE(JsonEqual(Json::Value("1"), Json::Value(1)));
  EXPECT_FALSE(JsonEqual(Json::Value(), Json::Value(0)));
  EXPECT_FALSE(JsonEqual(J("[]"), J("{}")));
  EXPECT_TRUE(JsonEqual(Json::Value(), Json::Value()));
}

TEST(JsonEqualTest, ContainersCompareDeeplyAndWhole) {
  EXPECT_TRUE(JsonEqual(J(R"({"a":[1,{"b":2}],"c":"x"})"), J(R"({"c":"x","a":[1.0,{"b":2}]})")));
  EXPECT_FALSE(JsonEqual(J(R"({"a":1})"), J(R"({"a":1,"b":2})")));
  EXPECT_FALSE(JsonEqual(J(R"({"a":1,"b":2})"), J(R"({"a":1})")));
  EXPECT_FALSE(JsonEqual(J("[1,2]"), J("[2,1]")));
  EXPECT_FALSE(JsonEqual(J("[1,2]"), J("[1,2,3]")));
}

TEST(JsonContainsTest, ObjectsNeedEveryExpectedMemberContained) {
  const Json::Value actual = J(R"({"result":0,"output":{"name":"a","servers":["x","y"]}})");
  EXPECT_TRUE(JsonContains(actual, J("{}")));
  EXPECT_TRUE(JsonContains(actual, J(R"({"output":{"servers":["y"]}})")));
  EXPECT_TRUE(JsonContains(actual, J(R"({"result":0.0,"output":{"name":"a"}})")));
  EXPECT_FALSE(JsonContains(actual, J(R"({"output":{"level":1}})")));
  EXPECT_FALSE(JsonContains(actual, J(R"({"output":{"name":"b"}})")));
  EXPECT_FALSE(JsonContains(actual, J(R"({"output":[]})")));
  EXPECT_FALSE(JsonContains(J("[1]"), J("{}")));
}

TEST(JsonContainsTest, ArrayElementsMatchInOrderAndEachOnlyOnce) {
  const Json::Value actual = J(R"([{"n":"a","v":1},{"n":"b","v":2},{"n":"a","v":3}])");
  EXPECT_TRUE(JsonContains(actual, J("[]")));
  EXPECT_TRUE(JsonContains(actual, J(R"([{"n":"a"},{"n":"a"}])")));
  EXPECT_TRUE(JsonContains(actual, J(R"([{"n":"b"},{"v":3}])")));
  // Three expected "a" elements but only two actual ones.
  EXPECT_FALSE(JsonContains(actual, J(R"([{"n":"a"},{"n":"a"},{"n":"a"}])")));
  EXPECT_FALSE(JsonContains(actual, J(R"([{"v":2},{"v":1}])")));
  EXPECT_FALSE(JsonContains(J("[1,2]"), J("[2,1]")));
  EXPECT_FALSE(JsonContains(J("{}"), J("[]")));
}

TEST(JsonContainsTest, AnEarlierLooserMatchDoesNotHideALaterOne) {
  // The first expected element fits both actual elements; the second fits only
  // the second, which must still be free for it.
  EXPECT_TRUE(JsonContains(J(R"([{"x":1,"y":2},{"x":1,"y":2,"z":3}])"), J(R"([{"x":1},{"z":3}])")));
  EXPECT_FALSE(JsonContains(J(R"([{"x":1,"z":3},{"x":1}])"), J(R"([{"x":1},{"z":3}])")));
}

TEST(JsonContainsTest, ScalarsMustBeEqual) {
  EXPECT_TRUE(JsonContains(Json::Value(7u), Json::Value(7)));
  EXPECT_FALSE(JsonContains(Json::Value("abc"), Json::Value("ab")));
  EXPECT_FALSE(JsonContains(J("[1]"), Json::Value(1)));
}

TEST(LookUpPathTest, MembersAndElements) {
  const Json::Value reply = J(R"({"a":{"b":null},"list":[{"name":"x"},[5,6]],"e":{}})");
  EXPECT_EQ(LookUpPath(reply, "a"), PathState::kPresent);
  // A member whose value is null is there all the same.
  EXPECT_EQ(LookUpPath(reply, "a/b"), PathState::kPresent);
  EXPECT_EQ(LookUpPath(reply, "list[0]/name"), PathState::kPresent);
  EXPECT_EQ(LookUpPath(reply, "list[1][1]"), PathState::kPresent);
  EXPECT_EQ(LookUpPath(reply, "list/[1]"), PathState::kPresent);

  EXPECT_EQ(LookUpPath(reply, "a/c"), PathState::kAbsent);
  EXPECT_EQ(LookUpPath(reply, "list[2]"), PathState::kAbsent);
  EXPECT_EQ(LookUpPath(reply, "list[1][2]"), PathState::kAbsent);
  EXPECT_EQ(LookUpPath(reply, "list[99999999999999999999999]"), PathState::kAbsent);
  EXPECT_EQ(LookUpPath(reply, "a[0]"), PathState::kAbsent);       // not an array
  EXPECT_EQ(LookUpPath(reply, "list/name"), PathState::kAbsent);  // not an object
  EXPECT_EQ(LookUpPath(reply, "a/b/c"), PathState::kAbsent);      // below null
}

TEST(LookUpPathTest, MalformedPathsAreToldApart) {
  const Json::Value reply = J(R"({"list":[1]})");
  for (const char* path : {"", "/list", "list/", "list//x", "list[", "list[0", "list[]", "list[-1]",
                           "list[x]", "list[0]x", "li]st", "list[0]]"}) {
    EXPECT_EQ(LookUpPath(reply, path), PathState::kMalformed) << path;
  }
}

TEST(CheckExpectationsTest, AllHoldingGivesNoMismatch) {
  const Json::Value reply = J(R"({"op":"call","result":0,"output":{"servers":["a","b"]}})");
  EXPECT_TRUE(CheckExpectations(J(R"({"op":"call",
      "expect":{"result":0,"op":"call"},
      "expectHas":{"output":{"servers":["b"]}},
      "expectAbsent":["error","output/name","output/servers[2]"]})"),
                                reply)
                  .empty());
}

TEST(CheckExpectationsTest, EachFailureIsReportedWithWhere) {
  const Json::Value reply = J(R"({"op":"call","result":1168,"output":{"servers":["a"]}})");
  const std::vector<std::string> mismatches = CheckExpectations(J(R"({"op":"call",
      "expect":{"result":0,"error":"x"},
      "expectHas":{"output":{"servers":["b"]}},
      "expectAbsent":["output/servers[0]","bad["]})"),
                                                                reply);
  ASSERT_EQ(mismatches.size(), 5u);
  EXPECT_EQ(mismatches[0], "expect \"error\": missing (expected \"x\")");
  EXPECT_EQ(mismatches[1], "expect \"result\": expected 0, got 1168");
  EXPECT_NE(mismatches[2].find("\"output/servers\""), std::string::npos) << mismatches[2];
  EXPECT_EQ(mismatches[3], "expectAbsent \"output/servers[0]\": present");
  EXPECT_EQ(mismatches[4], "expectAbsent \"bad[\": not a key path");
}

TEST(CheckExpectationsTest, ExpectIsEqualityNotContainment) {
  const Json::Value reply = J(R"({"output":{"a":1,"b":2}})");
  EXPECT_EQ(CheckExpectations(J(R"({"expect":{"output":{"a":1}}})"), reply).size(), 1u);
  EXPECT_TRUE(CheckExpectations(J(R"({"expectHas":{"output":{"a":1}}})"), reply).empty());
}

TEST(CheckExpectationsTest, MalformedExpectationsFail) {
  const Json::Value reply = J(R"({"op":"log"})");
  EXPECT_EQ(CheckExpectations(J(R"({"expect":[1]})"), reply),
            std::vector<std::string>{"expect must be an object"});
  EXPECT_EQ(CheckExpectations(J(R"({"expectHas":"op"})"), reply),
            std::vector<std::string>{"expectHas must be an object"});
  EXPECT_EQ(CheckExpectations(J(R"({"expectAbsent":"op"})"), reply),
            std::vector<std::string>{"expectAbsent must be an array of key paths"});
  EXPECT_EQ(CheckExpectations(J(R"({"expectAbsent":[3]})"), reply),
            std::vector<std::string>{"expectAbsent: 3 is not a key path"});
}

TEST(AnticipatesErrorTest, OnlyAnExpectedErrorMemberCounts) {
  EXPECT_TRUE(AnticipatesError(J(R"({"expect":{"error":"unknown op"}})")));
  EXPECT_TRUE(AnticipatesError(J(R"({"expectHas":{"error":"unknown op"}})")));
  EXPECT_FALSE(AnticipatesError(J(R"({"expectAbsent":["error"]})")));
  EXPECT_FALSE(AnticipatesError(J(R"({"expect":{"result":0}})")));
  EXPECT_FALSE(AnticipatesError(J(R"({"expect":["error"]})")));
}

}  // namespace
}  // namespace kelhost
