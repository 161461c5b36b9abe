#include "frame/map.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "frame/string.h"

namespace kel {
namespace {

StringW Key(int i) { return StringW(L"key" + std::to_wstring(i)); }

TEST(MapTest, HashIsDjb2OverTheWideCharacters) {
  EXPECT_EQ(HashDjb2(L"", 0), 5381u);
  EXPECT_EQ(HashDjb2(L"abc", 3), 193485963u);
  // Wraps in 32 bits: 210714636441 mod 2^32.
  EXPECT_EQ(HashDjb2(L"hello", 5), 261238937u);
  // Characters beyond 8 bits count in full.
  EXPECT_EQ(HashDjb2(L"\x20AC", 1), 5381u * 33 + 0x20AC);
  EXPECT_EQ(MapKeyTraits<StringW>::Hash(StringW(L"abc")), 193485963u);
}

TEST(MapTest, InsertKeepsTheFirstValueAndKeysAreCaseSensitive) {
  Map<StringW, int> map;
  EXPECT_EQ(map.Insert(StringW(L"Key"), 1), 0u);
  EXPECT_EQ(map.Insert(StringW(L"key"), 2), 0u);
  EXPECT_EQ(map.Insert(StringW(L"Key"), 3), 183u);
  EXPECT_EQ(*map.Find(StringW(L"Key")), 1);
  EXPECT_EQ(*map.FindConst(StringW(L"key")), 2);
  EXPECT_EQ(map.Find(StringW(L"KEY")), nullptr);
  // An empty key is a key like any other.
  EXPECT_EQ(map.Insert(StringW(), 4), 0u);
  EXPECT_EQ(*map.Find(StringW(L"")), 4);
  EXPECT_EQ(map.Count(), 3u);
}

TEST(MapTest, ManyKeysStayFindableThroughGrowthAndRemoval) {
  Map<StringW, int> map;
  const int n = 5000;
  for (int i = 0; i < n; ++i) ASSERT_EQ(map.Insert(Key(i), i), 0u);
  EXPECT_EQ(map.Count(), static_cast<uint64_t>(n));
  for (int i = 0; i < n; i += 2) ASSERT_EQ(map.Remove(Key(i)), 0u);
  EXPECT_EQ(map.Count(), static_cast<uint64_t>(n / 2));
  for (int i = 0; i < n; ++i) {
    const int* v = map.FindConst(Key(i));
    if (i % 2 == 0) {
      EXPECT_EQ(v, nullptr) << i;
    } else {
      ASSERT_NE(v, nullptr) << i;
      EXPECT_EQ(*v, i);
    }
  }
  EXPECT_EQ(map.Remove(Key(0)), 1168u);
}

TEST(MapTest, EnumeratesInInsertionOrderAndRemovesAtTheEnumerator) {
  Map<StringW, int> map;
  for (int i = 0; i < 40; ++i) map.Insert(Key(i), i);
  EnumPtr<IEnum<StringW, int>> e(map.NewEnum());
  int expected = 0;
  while (e->HasCurrent()) {
    MapEntry<StringW, int>* entry = e->Current();
    EXPECT_TRUE(entry->key == Key(expected));
    EXPECT_EQ(entry->value, expected);
    if (expected % 3 == 0) {
      map.RemoveAt(e.get());
    } else {
      e->Advance();
    }
    ++expected;
  }
  EXPECT_EQ(expected, 40);
  EXPECT_EQ(map.Count(), 26u);
  for (int i = 0; i < 40; ++i) EXPECT_EQ(map.Contains(Key(i)), i % 3 != 0) << i;

  // Entries inserted while enumerating are reached at the end.
  e->Reset();
  map.Insert(Key(100), 100);
  int last = -1;
  while (e->HasCurrent()) last = e->Advance()->value;
  EXPECT_EQ(last, 100);
}

TEST(MapTest, CopyIsDeepAndMoveTakesEverything) {
  Map<StringW, std::wstring> a;
  a.Insert(StringW(L"x"), L"1");
  a.Insert(StringW(L"y"), L"2");
  Map<StringW, std::wstring> b(a);
  *b.Find(StringW(L"x")) = L"changed";
  b.Insert(StringW(L"z"), L"3");
  EXPECT_EQ(*a.Find(StringW(L"x")), L"1");
  EXPECT_EQ(a.Count(), 2u);
  EXPECT_EQ(b.Count(), 3u);

  Map<StringW, std::wstring> c(std::move(b));
  EXPECT_EQ(c.Count(), 3u);
  EXPECT_EQ(b.Count(), 0u);  // NOLINT: checking the moved-from state
  EXPECT_EQ(b.Find(StringW(L"x")), nullptr);
  EXPECT_EQ(b.Insert(StringW(L"x"), L"new"), 0u);

  a = c;
  std::vector<std::wstring> keys;
  for (const auto& entry : a) keys.push_back(entry.key.ToStd());
  EXPECT_EQ(keys, (std::vector<std::wstring>{L"x", L"y", L"z"}));
  EXPECT_EQ(*a.Find(StringW(L"x")), L"changed");
}

}  // namespace
}  // namespace kel
