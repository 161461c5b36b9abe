// The plug-ins call lists, maps and their enumerators by slot number; these
// tests make the same calls, so a reordered declaration fails here.
#include <gtest/gtest.h>

#include <typeinfo>

#include "frame/list.h"
#include "frame/map.h"
#include "frame/string.h"
#include "tests/support/vtable.h"

namespace kel {
namespace {

using test::CallSlot;

// List slots.
constexpr size_t kAddBack = 0, kAddFront = 1, kLastConst = 2, kLast = 3, kCopyLast = 4,
                 kFirstConst = 5, kFirst = 6, kCopyFirst = 7, kRemoveAt = 8, kNewConstEnum = 9,
                 kNewEnum = 10, kRemoveAll = 11, kCount = 12;
// Enumerator slots (list and map alike).
constexpr size_t kHasCurrent = 0, kAdvance = 1, kCurrent = 2, kRelease = 3, kReset = 4;
// Map slots.
constexpr size_t kInsert = 0, kFind = 1, kFindConst = 2, kCopyValue = 3, kMapRemoveAt = 4,
                 kRemoveKey = 5, kMapNewEnum = 6, kMapNewConstEnum = 7, kMapRemoveAll = 8,
                 kMapCount = 9;

TEST(ListSlotsTest, AddReadAndCopyBothEnds) {
  List<int> list;
  IList<int>* l = &list;
  int out = -1;
  EXPECT_EQ(CallSlot<uint32_t>(l, kCopyLast, &out), 1168u);
  EXPECT_EQ(out, -1);
  const int one = 1, two = 2, zero = 0;
  EXPECT_EQ(CallSlot<uint32_t>(l, kAddBack, &one), 0u);
  EXPECT_EQ(CallSlot<uint32_t>(l, kAddBack, &two), 0u);
  EXPECT_EQ(CallSlot<uint32_t>(l, kAddFront, &zero), 0u);
  EXPECT_EQ(CallSlot<uint64_t>(l, kCount), 3u);

  EXPECT_EQ(*CallSlot<const int*>(l, kLastConst), 2);
  *CallSlot<int*>(l, kLast) = 20;
  EXPECT_EQ(*CallSlot<const int*>(l, kFirstConst), 0);
  *CallSlot<int*>(l, kFirst) = 10;
  EXPECT_EQ(CallSlot<uint32_t>(l, kCopyLast, &out), 0u);
  EXPECT_EQ(out, 20);
  EXPECT_EQ(CallSlot<uint32_t>(l, kCopyFirst, &out), 0u);
  EXPECT_EQ(out, 10);

  CallSlot<void>(l, kRemoveAll);
  EXPECT_EQ(CallSlot<uint64_t>(l, kCount), 0u);
}

TEST(ListSlotsTest, EnumeratorsByTheirSlots) {
  List<int> list;
  for (int v : {1, 2, 3}) list.AddBack(v);
  IList<int>* l = &list;

  IConstListEnum<int>* c = CallSlot<IConstListEnum<int>*>(l, kNewConstEnum);
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(typeid(*c), typeid(ConstListEnum<int>));
  IListEnum<int>* e = CallSlot<IListEnum<int>*>(l, kNewEnum);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(typeid(*e), typeid(ListEnum<int>));

  EXPECT_EQ(*CallSlot<const int*>(c, kAdvance), 1);  // the node left
  EXPECT_EQ(*CallSlot<const int*>(c, kCurrent), 2);
  CallSlot<const int*>(c, kAdvance);
  EXPECT_TRUE(CallSlot<bool>(c, kHasCurrent));
  CallSlot<const int*>(c, kAdvance);
  EXPECT_FALSE(CallSlot<bool>(c, kHasCurrent));
  EXPECT_EQ(CallSlot<const int*>(c, kAdvance), nullptr);
  CallSlot<void>(c, kReset);
  EXPECT_EQ(*CallSlot<const int*>(c, kCurrent), 1);
  CallSlot<void>(c, kRelease);

  // Remove the middle element at the enumerator: it moves to the next one.
  CallSlot<int*>(e, kAdvance);
  CallSlot<void>(l, kRemoveAt, e);
  EXPECT_EQ(*CallSlot<int*>(e, kCurrent), 3);
  EXPECT_EQ(CallSlot<uint64_t>(l, kCount), 2u);
  CallSlot<void>(e, kReset);
  EXPECT_EQ(*CallSlot<int*>(e, kCurrent), 1);
  CallSlot<void>(e, kRelease);
}

TEST(MapSlotsTest, InsertFindCopyRemove) {
  Map<StringW, int> map;
  IMap<StringW, int>* m = &map;
  const StringW one(L"one"), two(L"two"), missing(L"missing");
  const int v1 = 1, v2 = 2, other = 99;

  EXPECT_EQ(CallSlot<uint32_t>(m, kInsert, &one, &v1), 0u);
  EXPECT_EQ(CallSlot<uint32_t>(m, kInsert, &two, &v2), 0u);
  EXPECT_EQ(CallSlot<uint32_t>(m, kInsert, &one, &other), 183u);
  EXPECT_EQ(CallSlot<uint64_t>(m, kMapCount), 2u);
  *CallSlot<int*>(m, kFind, &two) = 22;
  EXPECT_EQ(*CallSlot<const int*>(m, kFindConst, &two), 22);
  EXPECT_EQ(CallSlot<const int*>(m, kFindConst, &missing), nullptr);

  int out = -1;
  EXPECT_EQ(CallSlot<uint32_t>(m, kCopyValue, &one, &out), 0u);
  EXPECT_EQ(out, 1);
  EXPECT_EQ(CallSlot<uint32_t>(m, kRemoveKey, &missing), 1168u);
  EXPECT_EQ(CallSlot<uint32_t>(m, kRemoveKey, &one), 0u);
  EXPECT_EQ(CallSlot<uint64_t>(m, kMapCount), 1u);
  CallSlot<void>(m, kMapRemoveAll);
  EXPECT_EQ(CallSlot<uint64_t>(m, kMapCount), 0u);
}

TEST(MapSlotsTest, EnumeratorsByTheirSlots) {
  using Entry = MapEntry<StringW, int>;
  Map<StringW, int> map;
  map.Insert(StringW(L"a"), 1);
  map.Insert(StringW(L"b"), 2);
  map.Insert(StringW(L"c"), 3);
  IMap<StringW, int>* m = &map;

  IEnum<StringW, int>* e = CallSlot<IEnum<StringW, int>*>(m, kMapNewEnum);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(typeid(*e), typeid(Enum<StringW, int>));
  IConstEnum<StringW, int>* c = CallSlot<IConstEnum<StringW, int>*>(m, kMapNewConstEnum);
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(typeid(*c), typeid(ConstEnum<StringW, int>));

  const Entry* first = CallSlot<const Entry*>(c, kAdvance);
  EXPECT_TRUE(first->key == L"a");
  EXPECT_TRUE(CallSlot<const Entry*>(c, kCurrent)->key == L"b");
  EXPECT_TRUE(CallSlot<bool>(c, kHasCurrent));
  CallSlot<const Entry*>(c, kAdvance);
  EXPECT_EQ(CallSlot<const Entry*>(c, kAdvance)->value, 3);
  EXPECT_FALSE(CallSlot<bool>(c, kHasCurrent));
  CallSlot<void>(c, kReset);
  EXPECT_EQ(CallSlot<const Entry*>(c, kCurrent), first);
  CallSlot<void>(c, kRelease);

  // Remove "b" at the enumerator: it moves on to "c".
  CallSlot<Entry*>(e, kAdvance);
  CallSlot<void>(m, kMapRemoveAt, e);
  EXPECT_TRUE(CallSlot<Entry*>(e, kCurrent)->key == L"c");
  EXPECT_FALSE(map.Contains(StringW(L"b")));
  CallSlot<void>(e, kRelease);
}

}  // namespace
}  // namespace kel
