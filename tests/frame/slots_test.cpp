// The plug-ins call lists, maps and their enumerators by slot number; these
// tests make the same calls, so a reordered declaration fails here. Each slot
// is called once, with an outcome no neighbouring slot would give.
#include <gtest/gtest.h>

#include "frame/list.h"
#include "frame/map.h"
#include "frame/string.h"
#include "tests/support/vtable.h"

namespace kel {
namespace {

using test::CallSlot;

// Enumerator slots (list and map, plain and const alike).
constexpr size_t kHasCurrent = 0, kAdvance = 1, kCurrent = 2, kRelease = 3, kReset = 4;

// Walks a three-element enumerator by its slots; `value` reads an element.
template <class Element, class Enumerator, class Value>
void ExpectEnumeratorSlots(Enumerator* e, Value value) {
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(value(CallSlot<Element*>(e, kAdvance)), 1);  // the element left
  EXPECT_EQ(value(CallSlot<Element*>(e, kCurrent)), 2);
  CallSlot<Element*>(e, kAdvance);
  EXPECT_TRUE(CallSlot<bool>(e, kHasCurrent));
  CallSlot<Element*>(e, kAdvance);
  EXPECT_FALSE(CallSlot<bool>(e, kHasCurrent));
  EXPECT_EQ(CallSlot<Element*>(e, kAdvance), nullptr);
  CallSlot<void>(e, kReset);
  EXPECT_EQ(value(CallSlot<Element*>(e, kCurrent)), 1);
  CallSlot<void>(e, kRelease);
}

TEST(SlotsTest, ListAndItsEnumerators) {
  constexpr size_t kAddBack = 0, kAddFront = 1, kLastConst = 2, kLast = 3, kCopyLast = 4,
                   kFirstConst = 5, kFirst = 6, kCopyFirst = 7, kRemoveAt = 8, kNewConstEnum = 9,
                   kNewEnum = 10, kRemoveAll = 11, kCount = 12;
  List<int> list;
  IList<int>* l = &list;
  int out = -1;
  EXPECT_EQ(CallSlot<uint32_t>(l, kCopyLast, &out), 1168u);
  const int one = 1, two = 2, three = 3;
  EXPECT_EQ(CallSlot<uint32_t>(l, kAddBack, &three), 0u);
  EXPECT_EQ(CallSlot<uint32_t>(l, kAddFront, &two), 0u);
  list.AddFront(one);
  EXPECT_EQ(CallSlot<uint64_t>(l, kCount), 3u);
  EXPECT_EQ(*CallSlot<const int*>(l, kLastConst), 3);
  EXPECT_EQ(*CallSlot<const int*>(l, kFirstConst), 1);

  const auto read = [](const int* v) { return *v; };
  ExpectEnumeratorSlots<const int>(CallSlot<IConstListEnum<int>*>(l, kNewConstEnum), read);
  ExpectEnumeratorSlots<int>(CallSlot<IListEnum<int>*>(l, kNewEnum), read);

  *CallSlot<int*>(l, kLast) = 30;
  *CallSlot<int*>(l, kFirst) = 10;
  EXPECT_EQ(CallSlot<uint32_t>(l, kCopyLast, &out), 0u);
  EXPECT_EQ(out, 30);
  EXPECT_EQ(CallSlot<uint32_t>(l, kCopyFirst, &out), 0u);
  EXPECT_EQ(out, 10);
  IListEnum<int>* e = list.NewEnum();
  CallSlot<void>(l, kRemoveAt, e);
  EXPECT_EQ(*e->Current(), 2);
  ReleaseEnum(e);
  CallSlot<void>(l, kRemoveAll);
  EXPECT_EQ(list.Count(), 0u);
}

TEST(SlotsTest, MapAndItsEnumerators) {
  constexpr size_t kInsert = 0, kFind = 1, kFindConst = 2, kCopyValue = 3, kRemoveAt = 4,
                   kRemoveKey = 5, kNewEnum = 6, kNewConstEnum = 7, kRemoveAll = 8, kCount = 9;
  using Entry = MapEntry<StringW, int>;
  Map<StringW, int> map;
  IMap<StringW, int>* m = &map;
  const StringW a(L"a"), b(L"b"), c(L"c"), missing(L"missing");
  const int v1 = 1, v2 = 2, v3 = 3;
  EXPECT_EQ(CallSlot<uint32_t>(m, kInsert, &a, &v1), 0u);
  EXPECT_EQ(CallSlot<uint32_t>(m, kInsert, &b, &v2), 0u);
  EXPECT_EQ(CallSlot<uint32_t>(m, kInsert, &c, &v3), 0u);
  EXPECT_EQ(CallSlot<uint32_t>(m, kInsert, &a, &v3), 183u);
  EXPECT_EQ(CallSlot<uint64_t>(m, kCount), 3u);

  const auto read = [](const Entry* entry) { return entry->value; };
  ExpectEnumeratorSlots<const Entry>(CallSlot<IConstEnum<StringW, int>*>(m, kNewConstEnum), read);
  ExpectEnumeratorSlots<Entry>(CallSlot<IEnum<StringW, int>*>(m, kNewEnum), read);

  *CallSlot<int*>(m, kFind, &b) = 22;
  EXPECT_EQ(*CallSlot<const int*>(m, kFindConst, &b), 22);
  EXPECT_EQ(CallSlot<const int*>(m, kFindConst, &missing), nullptr);
  int out = -1;
  EXPECT_EQ(CallSlot<uint32_t>(m, kCopyValue, &c, &out), 0u);
  EXPECT_EQ(out, 3);
  EXPECT_EQ(CallSlot<uint32_t>(m, kRemoveKey, &missing), 1168u);
  EXPECT_EQ(CallSlot<uint32_t>(m, kRemoveKey, &c), 0u);
  IEnum<StringW, int>* e = map.NewEnum();
  CallSlot<void>(m, kRemoveAt, e);
  EXPECT_TRUE(e->Current()->key == L"b");
  ReleaseEnum(e);
  CallSlot<void>(m, kRemoveAll);
  EXPECT_EQ(map.Count(), 0u);
}

}  // namespace
}  // namespace kel
