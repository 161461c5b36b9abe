#include "frame/list.h"

#include <gtest/gtest.h>

#include <vector>

#include "frame/string.h"

namespace kel {
namespace {

template <class T>
std::vector<T> Contents(const List<T>& list) {
  return std::vector<T>(list.begin(), list.end());
}

std::vector<std::wstring> Texts(const List<StringW>& list) {
  std::vector<std::wstring> texts;
  for (const StringW& s : list) texts.push_back(s.ToStd());
  return texts;
}

TEST(ListTest, KeepsInsertionOrderFromBothEnds) {
  List<int> list;
  list.AddBack(2);
  list.AddFront(1);
  list.AddBack(3);
  list.AddFront(0);
  EXPECT_EQ(Contents(list), (std::vector<int>{0, 1, 2, 3}));
  EXPECT_EQ(list.Count(), 4u);
  EXPECT_EQ(*list.First(), 0);
  EXPECT_EQ(*list.LastConst(), 3);
}

TEST(ListTest, HoldsIndependentCopiesOfStrings) {
  StringW text(L"original");
  List<StringW> list;
  list.AddBack(text);
  text = L"changed";
  EXPECT_EQ(Texts(list), std::vector<std::wstring>{L"original"});

  StringW out(L"old");
  EXPECT_EQ(list.CopyFirst(out), 0u);
  EXPECT_TRUE(out == L"original");
  EXPECT_NE(out.RawPointer(), list.First()->RawPointer());
}

TEST(ListTest, CopyIsDeepAndMoveTakesTheNodes) {
  List<StringW> a;
  a.AddBack(StringW(L"x"));
  a.AddBack(StringW(L"y"));
  List<StringW> b(a);
  b.First()->Append(L"!");
  b.AddBack(StringW(L"z"));
  EXPECT_EQ(Texts(a), (std::vector<std::wstring>{L"x", L"y"}));
  EXPECT_EQ(Texts(b), (std::vector<std::wstring>{L"x!", L"y", L"z"}));

  const StringW* node_value = b.First();
  List<StringW> c(std::move(b));
  EXPECT_EQ(c.First(), node_value);
  EXPECT_EQ(b.Count(), 0u);  // NOLINT: checking the moved-from state
  EXPECT_EQ(b.begin(), b.end());
  b.AddBack(StringW(L"reused"));
  EXPECT_EQ(Texts(b), std::vector<std::wstring>{L"reused"});

  a = c;
  EXPECT_EQ(Texts(a), Texts(c));
  a.Swap(b);
  EXPECT_EQ(Texts(b), (std::vector<std::wstring>{L"x!", L"y", L"z"}));
  EXPECT_EQ(Texts(a), std::vector<std::wstring>{L"reused"});
}

TEST(ListTest, RemovingAtAnEnumeratorMovesItToTheNextElement) {
  List<int> list;
  for (int v = 0; v < 6; ++v) list.AddBack(v);
  // Drop the even numbers in one pass.
  EnumPtr<IListEnum<int>> e(list.NewEnum());
  ASSERT_TRUE(e);
  while (e->HasCurrent()) {
    if (*e->Current() % 2 == 0) {
      list.RemoveAt(e.get());
    } else {
      e->Advance();
    }
  }
  EXPECT_EQ(Contents(list), (std::vector<int>{1, 3, 5}));
  EXPECT_EQ(list.Count(), 3u);

  // At the end, removal does nothing; after a reset it takes the first element.
  list.RemoveAt(e.get());
  EXPECT_EQ(list.Count(), 3u);
  e->Reset();
  list.RemoveAt(e.get());
  EXPECT_EQ(Contents(list), (std::vector<int>{3, 5}));
  EXPECT_EQ(*e->Current(), 3);

  // Removing the last element leaves the enumerator at the end.
  e->Advance();
  list.RemoveAt(e.get());
  EXPECT_FALSE(e->HasCurrent());
  EXPECT_EQ(Contents(list), std::vector<int>{3});

  // Another list's enumerator, or none, removes nothing.
  List<int> other;
  other.AddBack(9);
  EnumPtr<IListEnum<int>> foreign(other.NewEnum());
  list.RemoveAt(foreign.get());
  list.RemoveAt(nullptr);
  EXPECT_EQ(list.Count(), 1u);
}

TEST(ListTest, EnumeratorsSeeChangesAndCanBeReleasedWhenNull) {
  List<int> list;
  EnumPtr<IConstListEnum<int>> c(static_cast<const List<int>&>(list).NewConstEnum());
  EXPECT_FALSE(c->HasCurrent());
  list.AddBack(7);
  c->Reset();
  ASSERT_TRUE(c->HasCurrent());
  EXPECT_EQ(*c->Current(), 7);

  IListEnum<int>* none = nullptr;
  ReleaseEnum(none);
  EnumPtr<IListEnum<int>> owner(list.NewEnum());
  owner.reset();
  EXPECT_FALSE(owner);
}

}  // namespace
}  // namespace kel
