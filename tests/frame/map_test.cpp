#include "frame/map.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/string.h"

namespace kel {
namespace {

StringW Key(int i) { return StringW(L"key" + std::to_wstring(i)); }

TEST(MapTest, HashIsDjb2OverTheWideCharacters) {
  // Wraps in 32 bits: 210714636441 mod 2^32.
  EXPECT_EQ(MapKeyTraits<StringW>::Hash(StringW(L"hello")), 261238937u);
  // Characters beyond 8 bits count in full.
  EXPECT_EQ(HashDjb2(L"\x20AC", 1), 5381u * 33 + 0x20AC);
}

TEST(MapTest, InsertKeepsTheFirstValueAndKeysAreCaseSensitive) {
  Map<StringW, int> map;
  EXPECT_EQ(map.Insert(StringW(L"Key"), 1), 0u);
  EXPECT_EQ(map.Insert(StringW(L"key"), 2), 0u);
  EXPECT_EQ(map.Insert(StringW(L"Key"), 3), 183u);
  EXPECT_EQ(*map.Find(StringW(L"Key")), 1);
  EXPECT_EQ(map.Find(StringW(L"KEY")), nullptr);
  // An empty key is a key like any other.
  EXPECT_EQ(map.Insert(StringW(), 4), 0u);
  EXPECT_EQ(*map.Find(StringW(L"")), 4);
  EXPECT_EQ(map.Count(), 3u);
}

// Enough keys to grow the table many times over.
TEST(MapTest, ManyKeysEnumerateInInsertionOrderAndStayFindableThroughRemoval) {
  Map<StringW, int> map;
  const int n = 5000;
  for (int i = 0; i < n; ++i) ASSERT_EQ(map.Insert(Key(i), i), 0u);
  EnumPtr<IEnum<StringW, int>> e(map.NewEnum());
  int expected = 0;
  for (; e->HasCurrent(); ++expected) {
    ASSERT_TRUE(e->Current()->key == Key(expected)) << expected;
    if (expected % 3 == 0) {
      map.RemoveAt(e.get());
    } else {
      e->Advance();
    }
  }
  EXPECT_EQ(expected, n);
  for (int i = 0; i < n; ++i) {
    const int* v = map.FindConst(Key(i));
    EXPECT_EQ(v != nullptr && *v == i, i % 3 != 0) << i;
  }
  EXPECT_EQ(map.Remove(Key(0)), 1168u);
  EXPECT_EQ(map.Remove(Key(1)), 0u);

  // Entries inserted while enumerating are reached at the end.
  e->Reset();
  map.Insert(Key(-1), -1);
  int last = 0;
  while (e->HasCurrent()) last = e->Advance()->value;
  EXPECT_EQ(last, -1);
}

TEST(MapTest, CopyIsDeepAndMoveTakesEverything) {
  Map<StringW, std::wstring> a;
  a.Insert(StringW(L"x"), L"1");
  a.Insert(StringW(L"y"), L"2");
  Map<StringW, std::wstring> b(a);
  *b.Find(StringW(L"x")) = L"changed";
  EXPECT_EQ(*a.Find(StringW(L"x")), L"1");

  Map<StringW, std::wstring> c(std::move(b));
  EXPECT_EQ(b.Count(), 0u);  // NOLINT: checking the moved-from state
  EXPECT_EQ(b.Insert(StringW(L"x"), L"new"), 0u);
  a = c;
  std::vector<std::wstring> keys;
  for (const auto& entry : a) keys.push_back(entry.key.ToStd() + L"=" + entry.value);
  EXPECT_EQ(keys, (std::vector<std::wstring>{L"x=changed", L"y=2"}));
}

}  // namespace
}  // namespace kel
