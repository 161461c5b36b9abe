#include "tests/fuzz/json_mutator.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tests/host/json_text.h"

namespace kelfuzz {
namespace {

const char kSeed[] = R"({"enabled":true,"rules":[{"name":"r","size":5}],"mode":"fast"})";

TEST(JsonMutatorTest, TheSweepRemovesEveryKeyAndGivesEveryPathEachOtherType) {
  const Json::Value seed = J(kSeed);
  Mutator mutator(seed, L"SetRules", 1);
  std::set<std::string> removed;
  std::set<std::pair<std::string, Json::ValueType>> retyped;
  for (size_t n = 0; n < mutator.SweepSize(); ++n) {
    Mutant m = mutator.Next();
    for (const Path& path : PathsOf(seed)) {
      const Json::Value* v = Resolve(m.input, path);
      if (!path.empty()) {
        // Exactly the seed without that one member or element.
        Json::Value expected = seed;
        Json::Value* parent = Resolve(expected, Path(path.begin(), path.end() - 1));
        Json::Value gone;
        if (path.back().isIndex) {
          parent->removeIndex(path.back().index, &gone);
        } else {
          parent->removeMember(path.back().key);
        }
        if (m.input == expected) removed.insert(PathText(path));
      }
      if (v != nullptr) {
        retyped.insert({PathText(path), v->type()});
      }
    }
    Dismantle(m.input);
  }
  const struct {
    const char* path;
  } cases[] = {{"enabled"}, {"rules"}, {"rules[0]"}, {"rules[0].name"}, {"rules[0].size"}, {"mode"}};
  for (const auto& c : cases) {
    EXPECT_EQ(removed.count(c.path), 1u) << c.path;
    for (Json::ValueType type : {Json::nullValue, Json::booleanValue, Json::intValue,
                                 Json::realValue, Json::stringValue, Json::arrayValue,
                                 Json::objectValue}) {
      EXPECT_EQ(retyped.count({c.path, type}), 1u) << c.path << " as type " << type;
    }
  }
}

TEST(JsonMutatorTest, OneSeedNumberGivesOneSequence) {
  const auto run = [](uint64_t seedNumber) {
    Mutator mutator(J(kSeed), L"SetRules", seedNumber);
    std::string all;
    for (int n = 0; n < 300; ++n) {
      Mutant m = mutator.Next();
      all += m.what;
      Dismantle(m.input);
    }
    return all;
  };
  EXPECT_EQ(run(7), run(7));
  EXPECT_NE(run(7), run(8));
}

TEST(JsonMutatorTest, ATreeFarDeeperThanTheStackIsTakenApartWithoutRecursion) {
  for (bool objects : {false, true}) {
    Json::Value deep = Nested(200000, objects, Json::Value("leaf"));
    Dismantle(deep);
    EXPECT_TRUE(deep.isNull());
  }
}

}  // namespace
}  // namespace kelfuzz
