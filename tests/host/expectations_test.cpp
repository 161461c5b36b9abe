#include "host/kelhost/expectations.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/host/json_text.h"

namespace kelhost {
namespace {

TEST(JsonEqualTest, NumbersCompareByValueContainersDeeplyAndWhole) {
  const std::pair<Json::Value, Json::Value> equal[] = {
      {Json::Value(1u), Json::Value(1.0)},
      {Json::Value(Json::Int64(-5)), Json::Value(-5.0)},
      {J(R"({"a":[1,{"b":2}],"c":"x"})"), J(R"({"c":"x","a":[1.0,{"b":2}]})")},
  };
  for (const auto& c : equal) EXPECT_TRUE(JsonEqual(c.first, c.second)) << CompactJson(c.first);
  const std::pair<Json::Value, Json::Value> different[] = {
      // The same bits read as signed and as unsigned are different numbers.
      {Json::Value(Json::Int64(-1)), Json::Value(Json::UInt64(UINT64_MAX))},
      // 2^53 + 1 has no double of its own: comparing through double would call these equal.
      {Json::Value(Json::Int64(9007199254740993LL)), Json::Value(9007199254740992.0)},
      {Json::Value(Json::UInt64(UINT64_MAX)), Json::Value(18446744073709551616.0)},
      {Json::Value(true), Json::Value(1)},
      {Json::Value(), Json::Value(0)},
      {J("[]"), J("{}")},
      {J(R"({"a":1})"), J(R"({"a":1,"b":2})")},
      {J(R"({"a":1,"b":2})"), J(R"({"a":1})")},
      {J("[1,2]"), J("[2,1]")},
  };
  for (const auto& c : different) EXPECT_FALSE(JsonEqual(c.first, c.second)) << CompactJson(c.first);
}

TEST(JsonContainsTest, ObjectsAndArraysContainTheirExpectedParts) {
  const Json::Value object = J(R"({"result":0,"output":{"name":"a","servers":["x","y"]}})");
  const Json::Value array = J(R"([{"n":"a","v":1},{"n":"b","v":2},{"n":"a","v":3}])");
  struct Case {
    const Json::Value& actual;
    const char* expected;
    bool contained;
  } const cases[] = {
      {object, R"({"result":0.0,"output":{"servers":["y"]}})", true},
      {object, R"({"output":{"level":1}})", false},
      {object, R"({"output":{"name":"b"}})", false},
      {object, R"({"output":[]})", false},
      {array, R"([{"n":"a"},{"n":"a"}])", true},
      {array, R"([{"n":"b"},{"v":3}])", true},
      // Three expected "a" elements but only two actual ones.
      {array, R"([{"n":"a"},{"n":"a"},{"n":"a"}])", false},
      {array, R"([{"v":2},{"v":1}])", false},
      {array, "{}", false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(JsonContains(c.actual, J(c.expected)), c.contained) << c.expected;
  }
  EXPECT_FALSE(JsonContains(array, Json::Value(1)));
  EXPECT_FALSE(JsonContains(Json::Value("abc"), Json::Value("ab")));
}

TEST(JsonContainsTest, AnEarlierLooserMatchDoesNotHideALaterOne) {
  // The first expected element fits both actual elements; the second fits only
  // the second, which must still be free for it.
  EXPECT_TRUE(JsonContains(J(R"([{"x":1,"y":2},{"x":1,"y":2,"z":3}])"), J(R"([{"x":1},{"z":3}])")));
  EXPECT_FALSE(JsonContains(J(R"([{"x":1,"z":3},{"x":1}])"), J(R"([{"x":1},{"z":3}])")));
}

TEST(LookUpPathTest, MembersAndElements) {
  const Json::Value reply = J(R"({"a":{"b":null},"list":[{"name":"x"},[5,6]],"e":{}})");
  // A member whose value is null is there all the same.
  EXPECT_EQ(LookUpPath(reply, "a/b"), PathState::kPresent);
  for (const char* path : {"list[0]/name", "list[1][1]", "list/[1]"}) {
    EXPECT_EQ(LookUpPath(reply, path), PathState::kPresent) << path;
  }
  // Past the end, through a scalar, an object or an array of the wrong kind, below null.
  for (const char* path :
       {"a/c", "list[1][2]", "list[99999999999999999999999]", "a[0]", "list/name", "a/b/c"}) {
    EXPECT_EQ(LookUpPath(reply, path), PathState::kAbsent) << path;
  }
}

TEST(LookUpPathTest, MalformedPathsAreToldApart) {
  const Json::Value reply = J(R"({"list":[1]})");
  for (const char* path :
       {"", "/list", "list/", "list//x", "list[0", "list[]", "list[-1]", "list[0]x", "li]st"}) {
    EXPECT_EQ(LookUpPath(reply, path), PathState::kMalformed) << path;
  }
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
  EXPECT_EQ(CheckExpectations(J(R"({"expectAbsent":"op"})"), reply),
            std::vector<std::string>{"expectAbsent must be an array of key paths"});
  EXPECT_EQ(CheckExpectations(J(R"({"expectAbsent":[3]})"), reply),
            std::vector<std::string>{"expectAbsent: 3 is not a key path"});
}

TEST(AnticipatesErrorTest, OnlyAnExpectedErrorMemberCounts) {
  EXPECT_TRUE(AnticipatesError(J(R"({"expectHas":{"error":"unknown op"}})")));
  EXPECT_FALSE(AnticipatesError(J(R"({"expectAbsent":["error"]})")));
  EXPECT_FALSE(AnticipatesError(J(R"({"expect":["error"]})")));
}

}  // namespace
}  // namespace kelhost
