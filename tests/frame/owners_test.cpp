// The owner template, through a close function that records what it closes.
// The aliases' real handles are checked where they are used: the worker
// thread's event, the error checks' files and keys, the logging binding's module.
#include <algorithm>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frame/owners.h"

namespace {

using ::testing::ElementsAreArray;

struct Fake;  // only its addresses are used
std::vector<intptr_t> g_closed;
void RecordClose(Fake* value) noexcept { g_closed.push_back(reinterpret_cast<intptr_t>(value)); }
Fake* F(intptr_t value) { return reinterpret_cast<Fake*>(value); }
using Owner = kel::UniqueAny<Fake*, &RecordClose>;

TEST(UniqueAny, ClosesEachValueExactlyOnceWhateverItWentThrough) {
  struct Case {
    const char* name;
    std::function<void(Owner& one, Owner& two)> act;  // on owners of 1 and 2
    std::vector<intptr_t> closed_by_act;
    intptr_t one_after, two_after;
    std::vector<intptr_t> closed_in_all;  // once both owners died, sorted
  };
  const Case cases[] = {
      {"nothing", [](Owner&, Owner&) {}, {}, 1, 2, {1, 2}},
      {"reset", [](Owner& one, Owner&) { one.reset(); }, {1}, 0, 2, {1, 2}},
      {"reset to another", [](Owner& one, Owner&) { one.reset(F(3)); }, {1}, 3, 2, {1, 2, 3}},
      {"release", [](Owner& one, Owner&) { EXPECT_EQ(one.release(), F(1)); }, {}, 0, 2, {2}},
      {"put", [](Owner& one, Owner&) { *one.put() = F(3); }, {1}, 3, 2, {1, 2, 3}},
      {"move out", [](Owner& one, Owner&) { Owner taken(std::move(one)); }, {1}, 0, 2, {1, 2}},
      {"move onto a full one",
       [](Owner& one, Owner& two) { two = std::move(one); },
       {2},
       0,
       1,
       {1, 2}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    g_closed.clear();
    {
      Owner one(F(1));
      Owner two(F(2));
      c.act(one, two);
      EXPECT_THAT(g_closed, ElementsAreArray(c.closed_by_act));
      EXPECT_EQ(one.get(), F(c.one_after));
      EXPECT_EQ(static_cast<bool>(one), c.one_after != 0);
      EXPECT_EQ(two.get(), F(c.two_after));
    }
    std::sort(g_closed.begin(), g_closed.end());
    EXPECT_THAT(g_closed, ElementsAreArray(c.closed_in_all));
  }
}

bool IsOpen(HANDLE handle) {
  DWORD flags = 0;
  return ::GetHandleInformation(handle, &flags) != FALSE;
}

TEST(UniqueProcessInformation, MovesBothHandlesAndClosesBoth) {
  const auto duplicate = [] {
    HANDLE copy = nullptr;
    ::DuplicateHandle(::GetCurrentProcess(), ::GetCurrentProcess(), ::GetCurrentProcess(), &copy, 0,
                      FALSE, DUPLICATE_SAME_ACCESS);
    return copy;
  };
  PROCESS_INFORMATION seen{};
  {
    kel::UniqueProcessInformation kept;
    {
      kel::UniqueProcessInformation info;
      *info.put() = PROCESS_INFORMATION{duplicate(), duplicate(), 0, 0};
      seen = info.get();
      kel::UniqueProcessInformation moved(std::move(info));
      kept = std::move(moved);
    }
    EXPECT_TRUE(IsOpen(seen.hProcess) && IsOpen(seen.hThread));
  }
  EXPECT_FALSE(IsOpen(seen.hProcess));
  EXPECT_FALSE(IsOpen(seen.hThread));
}

TEST(MakeAttributeList, MakesAListThatTakesItsAttributes) {
  kel::UniqueAttributeList list;
  ASSERT_EQ(kel::MakeAttributeList(1, list), static_cast<DWORD>(ERROR_SUCCESS));
  const kel::UniqueEvent event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  HANDLE inherited[] = {event.get()};
  EXPECT_TRUE(::UpdateProcThreadAttribute(list.get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST,
                                          inherited, sizeof(inherited), nullptr, nullptr));
}

}  // namespace
