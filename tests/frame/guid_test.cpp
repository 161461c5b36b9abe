#include "frame/guid.h"

#include <gtest/gtest.h>

#include <string>

#include "frame/number_text.h"

namespace kel {
namespace {

// The written form puts the high half first; it reads back with or without braces.
TEST(GuidTest, WrittenFormAndItsReading) {
  const std::pair<Guid, const wchar_t*> cases[] = {
      {{0, 0}, L"00000000-0000-0000-0000-000000000000"},
      {{1, 0}, L"00000000-0000-0000-0000-000000000001"},
      {{0, 1}, L"00000000-0000-0001-0000-000000000000"},
      {{0xbc90fca366551ab3ull, 0x514be292f7c5425full}, L"514be292-f7c5-425f-bc90-fca366551ab3"},
      {{~0ull, ~0ull}, L"ffffffff-ffff-ffff-ffff-ffffffffffff"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.first.ToString().ToStd(), c.second);
    Guid back{7, 7};
    ASSERT_TRUE(Guid::Parse(c.second, back)) << c.second;
    EXPECT_EQ(back, c.first) << c.second;
    const std::wstring braced = L"{" + std::wstring(c.second) + L"}";
    ASSERT_TRUE(Guid::Parse(braced.c_str(), back)) << c.second;
    EXPECT_EQ(back, c.first) << c.second;
  }
}

TEST(GuidTest, ShortGroupsAndOverLongGroupsSpillIntoTheirNeighbours) {
  Guid id;
  ASSERT_TRUE(Guid::Parse(L"1-2-3-4-5", id));
  EXPECT_EQ(id.high, 0x0000000100020003ull);
  EXPECT_EQ(id.low, 0x0004000000000005ull);
  // b has 17 bits: its top bit lands in a's lowest bit.
  ASSERT_TRUE(Guid::Parse(L"0-1ffff-0-0-0", id));
  EXPECT_EQ(id.high, 0x00000001ffff0000ull);
  // e has 52 bits: its top nibble adds to d's.
  ASSERT_TRUE(Guid::Parse(L"0-0-0-1-f000000000000", id));
  EXPECT_EQ(id.low, 0x0001000000000000ull + 0xf000000000000ull);
}

TEST(GuidTest, RejectsIncompleteTextAndLeavesTheOutputAlone) {
  const wchar_t* bad[] = {L"", L"{}", L"1-2-3-4", L"x-2-3-4-5", L"{1-2-3-4}", L"1-2-3-4-", nullptr};
  for (const wchar_t* text : bad) {
    Guid id{5, 6};
    EXPECT_FALSE(Guid::Parse(text, id)) << (text ? text : L"(null)");
    EXPECT_EQ(id, (Guid{5, 6}));
  }
}

TEST(GuidTest, OrdersByTheHighHalfFirst) {
  EXPECT_TRUE((Guid{~0ull, 0}) < (Guid{0, 1}));
  EXPECT_TRUE((Guid{1, 5}) < (Guid{2, 5}));
  EXPECT_FALSE((Guid{2, 5}) < (Guid{2, 5}));
  EXPECT_TRUE((Guid{}).IsZero());
  EXPECT_FALSE((Guid{0, 1}).IsZero());
}

TEST(SmallNumberTest, AcceptsStoiNumbersBelow256) {
  const std::pair<const wchar_t*, int> cases[] = {  // -1: refused
      {L"0", 0},   {L"255", 255}, {L"  42", 42}, {L"7abc", 7}, {L"+9", 9},
      {L"007", 7}, {L"-0", 0},    {L"256", -1},  {L"-1", -1},  {L"", -1},
      {L"abc", -1}, {L" ", -1},   {L"99999999999", -1},
  };
  for (const auto& c : cases) {
    uint32_t value = 12345;
    EXPECT_EQ(ParseSmallNumber(c.first, value), c.second >= 0) << c.first;
    EXPECT_EQ(value, c.second >= 0 ? static_cast<uint32_t>(c.second) : 12345u) << c.first;
  }
}

}  // namespace
}  // namespace kel
