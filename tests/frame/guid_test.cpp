#include "frame/guid.h"

#include <gtest/gtest.h>

#include <string>

#include "frame/number_text.h"

namespace kel {
namespace {

std::wstring Text(const Guid& id) { return id.ToString().ToStd(); }

TEST(GuidTest, WritesTheHighHalfFirstInLowerCase) {
  EXPECT_EQ(Text(Guid{1, 0}), L"00000000-0000-0000-0000-000000000001");
  EXPECT_EQ(Text(Guid{0, 1}), L"00000000-0000-0001-0000-000000000000");
  EXPECT_EQ(Text(Guid{0xbc90fca366551ab3ull, 0x514be292f7c5425full}),
            L"514be292-f7c5-425f-bc90-fca366551ab3");
  EXPECT_EQ(Text(Guid{~0ull, ~0ull}), L"ffffffff-ffff-ffff-ffff-ffffffffffff");
}

TEST(GuidTest, ReadsWithAndWithoutBraces) {
  Guid plain, braced;
  ASSERT_TRUE(Guid::Parse(L"1-2-3-4-5", plain));
  ASSERT_TRUE(Guid::Parse(L"{1-2-3-4-5}", braced));
  EXPECT_EQ(plain, braced);
  EXPECT_EQ(plain.high, 0x0000000100020003ull);
  EXPECT_EQ(plain.low, 0x0004000000000005ull);
}

TEST(GuidTest, WrittenTextReadsBackToTheSameValue) {
  const Guid ids[] = {
      {0, 0}, {1, 0}, {0xbc90fca366551ab3ull, 0x514be292f7c5425full}, {~0ull, ~0ull}};
  for (const Guid& id : ids) {
    Guid back{7, 7};
    ASSERT_TRUE(Guid::Parse(id.ToString().c_str(), back));
    EXPECT_EQ(back, id);
    const std::wstring braced = L"{" + Text(id) + L"}";
    ASSERT_TRUE(Guid::Parse(braced.c_str(), back));
    EXPECT_EQ(back, id);
  }
}

TEST(GuidTest, OverLongGroupsSpillIntoTheirNeighbours) {
  Guid id;
  // b has 17 bits: its top bit lands in a's lowest bit.
  ASSERT_TRUE(Guid::Parse(L"0-1ffff-0-0-0", id));
  EXPECT_EQ(id.high, 0x00000001ffff0000ull);
  // e has 52 bits: its top nibble adds to d's.
  ASSERT_TRUE(Guid::Parse(L"0-0-0-1-f000000000000", id));
  EXPECT_EQ(id.low, 0x0001000000000000ull + 0xf000000000000ull);
}

TEST(GuidTest, RejectsIncompleteTextAndLeavesTheOutputAlone) {
  const wchar_t* bad[] = {L"", L"{}", L"1-2-3-4", L"x-2-3-4-5", L"{1-2-3-4}", L"1-2-3-4-"};
  for (const wchar_t* text : bad) {
    Guid id{5, 6};
    EXPECT_FALSE(Guid::Parse(text, id)) << text;
    EXPECT_EQ(id, (Guid{5, 6}));
  }
  Guid id{5, 6};
  EXPECT_FALSE(Guid::Parse(nullptr, id));
}

TEST(GuidTest, OrdersByTheHighHalfFirst) {
  EXPECT_TRUE((Guid{~0ull, 0}) < (Guid{0, 1}));
  EXPECT_TRUE((Guid{1, 5}) < (Guid{2, 5}));
  EXPECT_FALSE((Guid{2, 5}) < (Guid{2, 5}));
  EXPECT_TRUE((Guid{}).IsZero());
  EXPECT_FALSE((Guid{0, 1}).IsZero());
}

TEST(SmallNumberTest, AcceptsStoiNumbersBelow256) {
  struct Case {
    const wchar_t* text;
    bool ok;
    uint32_t value;
  };
  const Case cases[] = {
      {L"0", true, 0},
      {L"255", true, 255},
      {L"  42", true, 42},
      {L"7abc", true, 7},
      {L"+9", true, 9},
      {L"007", true, 7},
      {L"-0", true, 0},
      {L"256", false, 0},
      {L"-1", false, 0},
      {L"", false, 0},
      {L"abc", false, 0},
      {L" ", false, 0},
      {L"99999999999", false, 0},
  };
  for (const Case& c : cases) {
    uint32_t value = 12345;
    EXPECT_EQ(ParseSmallNumber(c.text, value), c.ok) << c.text;
    EXPECT_EQ(value, c.ok ? c.value : 12345u) << c.text;
  }
}

}  // namespace
}  // namespace kel
