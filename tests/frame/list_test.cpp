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

TEST(ListTest, CopiesAreDeepAndMoveTakesTheNodes) {
  StringW text(L"x");
  List<StringW> a;
  a.AddBack(text);
  text = L"changed";
  a.AddBack(StringW(L"y"));
  List<StringW> b(a);
  b.First()->Append(L"!");
  EXPECT_EQ(Texts(a), (std::vector<std::wstring>{L"x", L"y"}));

  StringW out(L"old");
  EXPECT_EQ(b.CopyFirst(out), 0u);
  EXPECT_TRUE(out == L"x!");
  EXPECT_NE(out.RawPointer(), b.First()->RawPointer());

  const StringW* node_value = b.First();
  List<StringW> c(std::move(b));
  EXPECT_EQ(c.First(), node_value);
  EXPECT_EQ(b.Count(), 0u);  // NOLINT: checking the moved-from state
  b.AddBack(StringW(L"reused"));
  a = c;
  a.Swap(b);
  EXPECT_EQ(Texts(b), (std::vector<std::wstring>{L"x!", L"y"}));
  EXPECT_EQ(Texts(a), std::vector<std::wstring>{L"reused"});
}

TEST(ListTest, RemovingAtAnEnumeratorMovesItToTheNextElement) {
  List<int> list;
  for (int v = 0; v < 6; ++v) list.AddBack(v);
  // Drop the even numbers in one pass.
  EnumPtr<IListEnum<int>> e(list.NewEnum());
  while (e->HasCurrent()) {
    if (*e->Current() % 2 == 0) {
      list.RemoveAt(e.get());
    } else {
      e->Advance();
    }
  }
  EXPECT_EQ(Contents(list), (std::vector<int>{1, 3, 5}));

  // At the end, removal does nothing; after a reset it takes the first element.
  list.RemoveAt(e.get());
  EXPECT_EQ(list.Count(), 3u);
  e->Reset();
  list.RemoveAt(e.get());
  EXPECT_EQ(*e->Current(), 3);

  // Removing the last element leaves the enumerator at the end.
  e->Advance();
  list.RemoveAt(e.get());
  EXPECT_FALSE(e->HasCurrent());
  EXPECT_EQ(Contents(list), std::vector<int>{3});

  // Another list's enumerator, or none, removes nothing; releasing none is harmless.
  List<int> other;
  other.AddBack(9);
  EnumPtr<IListEnum<int>> foreign(other.NewEnum());
  list.RemoveAt(foreign.get());
  list.RemoveAt(nullptr);
  EXPECT_EQ(list.Count(), 1u);
  IListEnum<int>* none = nullptr;
  ReleaseEnum(none);
}

}  // namespace
}  // namespace kel
