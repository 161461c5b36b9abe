// The owner template through a recording close function, then each kind's
// alias through the real API that closes it.
#include <algorithm>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frame/owners.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

struct Fake;  // only its addresses are used
std::vector<intptr_t> g_closed;
void RecordClose(Fake* value) noexcept { g_closed.push_back(reinterpret_cast<intptr_t>(value)); }
Fake* F(intptr_t value) { return reinterpret_cast<Fake*>(value); }

using Owner = kel::UniqueAny<Fake*, &RecordClose>;
using MinusOneOwner = kel::UniqueAny<Fake*, &RecordClose, -1>;

struct OwnerCase {
  const char* name;
  // Runs on owners holding 1 and 2.
  std::function<void(Owner& one, Owner& two)> act;
  std::vector<intptr_t> closed_by_act;
  intptr_t one_after, two_after;
  std::vector<intptr_t> closed_in_all;  // once both owners died, sorted
};

TEST(UniqueAny, ClosesEachValueExactlyOnceWhateverItWentThrough) {
  const OwnerCase cases[] = {
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
  for (const OwnerCase& c : cases) {
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

TEST(UniqueAny, NeverClosesTheKindsOwnInvalidValue) {
  g_closed.clear();
  {
    MinusOneOwner unset;
    EXPECT_FALSE(unset);
    MinusOneOwner minus_one(F(-1));
    EXPECT_FALSE(minus_one);
    MinusOneOwner null(F(0));  // a value like any other for this kind
    EXPECT_TRUE(null);
    Owner zero;
    EXPECT_FALSE(zero);
  }
  EXPECT_THAT(g_closed, ElementsAre(0));
}

bool IsOpen(HANDLE handle) {
  DWORD flags = 0;
  return ::GetHandleInformation(handle, &flags) != FALSE;
}

TEST(UniqueAny, AliasesCloseThroughTheirKindsApi) {
  HANDLE event = nullptr;
  HANDLE file = INVALID_HANDLE_VALUE;
  HKEY key = nullptr;
  {
    kel::UniqueEvent owned_event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    event = owned_event.get();
    // The program's own file, which surely exists.
    wchar_t path[MAX_PATH] = {};
    ASSERT_NE(::GetModuleFileNameW(nullptr, path, MAX_PATH), 0u);
    kel::UniqueFile owned_file(::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr,
                                             OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    file = owned_file.get();
    kel::UniqueHkey owned_key;
    ASSERT_EQ(::RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, owned_key.put()),
              ERROR_SUCCESS);
    key = owned_key.get();
    ASSERT_TRUE(owned_event && owned_file && owned_key);
    ASSERT_TRUE(IsOpen(event) && IsOpen(file));
    ASSERT_EQ(::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, nullptr, nullptr, nullptr),
              ERROR_SUCCESS);
  }
  EXPECT_FALSE(IsOpen(event));
  EXPECT_FALSE(IsOpen(file));
  EXPECT_EQ(::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr, nullptr),
            ERROR_INVALID_HANDLE);
}

TEST(UniqueProcessInformation, ClosesBothHandlesOnceAndMovesThem) {
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
      PROCESS_INFORMATION* slot = info.put();
      slot->hProcess = duplicate();
      slot->hThread = duplicate();
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
  ASSERT_TRUE(list);
  const kel::UniqueEvent event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  HANDLE inherited[] = {event.get()};
  EXPECT_TRUE(::UpdateProcThreadAttribute(list.get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST,
                                          inherited, sizeof(inherited), nullptr, nullptr));
}

}  // namespace
