#include "frame/string.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/vtable.h"

namespace kel {
namespace {

const unsigned char* BlockOf(const StringW& s) {
  return reinterpret_cast<const unsigned char*>(s.RawPointer()) - 16;
}

uint32_t ReadU32(const unsigned char* at) {
  uint32_t value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

void WriteU32(unsigned char* at, uint32_t value) { std::memcpy(at, &value, sizeof value); }

// Checks the whole frame around a string's characters from the raw bytes.
void ExpectFrame(const StringW& s, size_t capacity) {
  const unsigned char* block = BlockOf(s);
  const StringHeader* stored;
  std::memcpy(&stored, block + 4, sizeof stored);
  EXPECT_EQ(ReadU32(block), 0xABCDu);
  EXPECT_EQ(stored, s.Header());
  EXPECT_EQ(ReadU32(block + 12), 0xABCDu);
  EXPECT_EQ(stored->capacity, capacity);
  EXPECT_EQ(s.RawPointer()[capacity], L'\0');
  EXPECT_EQ(ReadU32(block + 16 + 2 * (capacity + 1)), 0xABCDu);
}

std::wstring Repeat(size_t count) {
  std::wstring text;
  for (size_t i = 0; i < count; ++i) text += static_cast<wchar_t>(L'a' + i % 26);
  return text;
}

// A manager that records every call and can refuse to reallocate.
class RecordingMemMgr final : public IMemMgr {
 public:
  void* Allocate(size_t bytes) override {
    log.push_back("allocate " + std::to_string(bytes));
    return std::malloc(bytes);
  }
  void* Reallocate(void* block, size_t bytes) override {
    log.push_back("reallocate " + std::to_string(bytes));
    return refuse_reallocate ? nullptr : std::realloc(block, bytes);
  }
  void Free(void* block) override {
    log.push_back("free");
    freed.push_back(block);
    std::free(block);
  }
  void Release() override { log.push_back("release"); }

  bool refuse_reallocate = false;
  std::vector<std::string> log;
  std::vector<void*> freed;
};

TEST(StringTest, EmptyStringHasNoBufferButReadsAsEmptyText) {
  StringW s;
  EXPECT_EQ(s.RawPointer(), nullptr);
  ASSERT_NE(s.c_str(), nullptr);
  EXPECT_EQ(s.c_str()[0], L'\0');
  EXPECT_TRUE(s.IsEmpty());
  EXPECT_EQ(s.Capacity(), 0u);
  EXPECT_EQ(s.Header(), nullptr);
  EXPECT_TRUE(s == L"");
  EXPECT_TRUE(s == static_cast<const wchar_t*>(nullptr));
}

TEST(StringTest, FreshBufferHasTheSharedLayoutAndADefaultHeader) {
  StringW s(L"abc");
  ExpectFrame(s, 64);
  const StringHeader* h = s.Header();
  EXPECT_EQ(h->mgr, StringMemMgr::Instance());
  EXPECT_EQ(h->length, 3u);
  EXPECT_EQ(h->step, 64u);
  EXPECT_EQ(h->buffer_owned, 1);
  EXPECT_EQ(h->header_owned, 1);
  EXPECT_EQ(std::wstring(s.c_str()), L"abc");
  // Every character position past the text is zero.
  for (size_t i = 3; i <= 64; ++i) EXPECT_EQ(s.RawPointer()[i], L'\0') << i;
}

TEST(StringTest, AssigningNothingToAStringWithoutBufferAllocatesTheStep) {
  StringW s;
  s.Assign(L"", 0);
  ASSERT_NE(s.RawPointer(), nullptr);
  EXPECT_EQ(s.Capacity(), 64u);
  EXPECT_EQ(s.Length(), 0u);
  ExpectFrame(s, 64);
}

TEST(StringTest, GrowthFollowsTheDoublingThenLinearRule) {
  struct Case {
    size_t from;
    size_t needed;
    size_t expected;
  };
  const Case cases[] = {
      {64, 65, 128},      {64, 1000, 1000},   {100, 101, 200},    {1024, 1025, 2048},
      {2048, 2049, 3072}, {1024, 5000, 5000}, {1500, 1501, 2524},
  };
  for (const Case& c : cases) {
    StringW s(Repeat(c.from));
    // The first buffer is sized to fit exactly (or to the step).
    ASSERT_EQ(s.Capacity(), c.from < 64 ? 64 : c.from);
    const std::wstring text = Repeat(c.needed);
    s.Assign(text.c_str(), text.size());
    EXPECT_EQ(s.Capacity(), c.expected) << c.from << " -> " << c.needed;
    EXPECT_EQ(s.ToStd(), text);
    ExpectFrame(s, c.expected);
  }
}

TEST(StringTest, GrowthReallocatesThroughTheHeadersManager) {
  RecordingMemMgr mgr;
  StringW s(&mgr, 64);
  s.Assign(Repeat(64).c_str());
  mgr.log.clear();
  s.AppendChar(L'!');
  ASSERT_EQ(mgr.log.size(), 1u);
  EXPECT_EQ(mgr.log[0], "reallocate " + std::to_string(128 * 2 + 22));
  EXPECT_EQ(s.ToStd(), Repeat(64) + L"!");
  // The positions gained are zero-filled.
  for (size_t i = 65; i <= 128; ++i) EXPECT_EQ(s.RawPointer()[i], L'\0') << i;
  ExpectFrame(s, 128);
}

TEST(StringTest, RefusedReallocationFallsBackToAllocateCopyAndFree) {
  RecordingMemMgr mgr;
  mgr.refuse_reallocate = true;
  StringW s(&mgr, 64);
  const std::wstring text = Repeat(64);
  s.Assign(text.c_str());
  const void* old_block = BlockOf(s);
  mgr.log.clear();
  s.Append(L"tail");
  const std::vector<std::string> expected = {"reallocate 278", "allocate 278", "free"};
  EXPECT_EQ(mgr.log, expected);
  ASSERT_EQ(mgr.freed.size(), 1u);
  EXPECT_EQ(mgr.freed[0], old_block);
  EXPECT_EQ(s.ToStd(), text + L"tail");
  EXPECT_EQ(s.Header()->mgr, &mgr);
  ExpectFrame(s, 128);
}

TEST(StringTest, TeardownFreesBlockThenHeaderThenReleasesTheManager) {
  RecordingMemMgr mgr;
  const void* block;
  const void* header;
  {
    StringW s(&mgr, 10);
    s = L"text";
    block = BlockOf(s);
    header = s.Header();
    mgr.log.clear();
  }
  const std::vector<std::string> expected = {"free", "free", "release"};
  EXPECT_EQ(mgr.log, expected);
  ASSERT_EQ(mgr.freed.size(), 2u);
  EXPECT_EQ(mgr.freed[0], block);
  EXPECT_EQ(mgr.freed[1], header);
}

TEST(StringTest, TeardownFreesOnlyWhatTheHeaderOwns) {
  RecordingMemMgr mgr;
  StringW s(&mgr, 10);
  StringHeader* h = const_cast<StringHeader*>(s.Header());
  void* block = const_cast<unsigned char*>(BlockOf(s));
  h->buffer_owned = 0;
  h->header_owned = 0;
  mgr.log.clear();
  s.Reset();
  EXPECT_EQ(s.RawPointer(), nullptr);
  EXPECT_EQ(mgr.log, std::vector<std::string>{"release"});
  std::free(block);
  std::free(h);
}

TEST(StringTest, GrowingABorrowedBufferCopiesItAndLeavesTheOriginal) {
  RecordingMemMgr mgr;
  StringW s(&mgr, 64);
  s = L"borrowed";
  StringHeader* h = const_cast<StringHeader*>(s.Header());
  void* borrowed = const_cast<unsigned char*>(BlockOf(s));
  h->buffer_owned = 0;
  mgr.log.clear();
  s.Append(Repeat(100).c_str());
  const std::vector<std::string> expected = {"allocate 278"};
  EXPECT_EQ(mgr.log, expected);
  EXPECT_EQ(h->buffer_owned, 1);
  EXPECT_EQ(s.ToStd(), L"borrowed" + Repeat(100));
  std::free(borrowed);
}

TEST(StringTest, CopiesAreDeepAndMovesTakeTheBuffer) {
  StringW a(L"alpha");
  StringW b(a);
  EXPECT_NE(a.RawPointer(), b.RawPointer());
  b.Append(L"!");
  EXPECT_TRUE(a == L"alpha");
  EXPECT_TRUE(b == L"alpha!");

  StringW c;
  c = b;
  EXPECT_TRUE(c == b);
  EXPECT_NE(c.RawPointer(), b.RawPointer());

  wchar_t* buffer = c.RawPointer();
  StringW d(std::move(c));
  EXPECT_EQ(d.RawPointer(), buffer);
  EXPECT_EQ(c.RawPointer(), nullptr);  // NOLINT: checking the moved-from state
  a = std::move(d);
  EXPECT_EQ(a.RawPointer(), buffer);
  EXPECT_TRUE(a == L"alpha!");

  // Copying an empty string without buffer empties the target but keeps its buffer.
  StringW empty;
  wchar_t* kept = a.RawPointer();
  a = empty;
  EXPECT_TRUE(a.IsEmpty());
  EXPECT_EQ(a.RawPointer(), kept);
  StringW copy_of_empty(empty);
  EXPECT_EQ(copy_of_empty.RawPointer(), nullptr);
}

TEST(StringTest, AssignTakesALengthOrReadsUpToTheTerminator) {
  StringW s;
  s.Assign(L"abcdef", 3);
  EXPECT_TRUE(s == L"abc");
  EXPECT_EQ(s.c_str()[3], L'\0');
  s.Assign(L"xy", StringW::npos);
  EXPECT_TRUE(s == L"xy");
  s.Assign(nullptr, 5);
  EXPECT_TRUE(s.IsEmpty());
  const std::wstring with_zero(L"a\0b", 3);
  StringW z(with_zero);
  EXPECT_EQ(z.Length(), 3u);
  EXPECT_EQ(z.ToStd(), with_zero);
}

TEST(StringTest, AssignAndAppendFromTheStringsOwnCharacters) {
  StringW s(L"0123456789");
  s.Assign(s.c_str() + 4, 3);
  EXPECT_TRUE(s == L"456");
  // Appending itself must survive the reallocation it causes.
  StringW t(Repeat(60));
  t.Append(t.c_str(), t.Length());
  EXPECT_EQ(t.ToStd(), Repeat(60) + Repeat(60));
  t.Append(t);
  EXPECT_EQ(t.Length(), 240u);
}

TEST(StringTest, EqualityComparesLengthAndEveryCharacter) {
  StringW abc(L"abc");
  EXPECT_TRUE(abc == StringW(L"abc"));
  EXPECT_FALSE(abc == StringW(L"abd"));
  EXPECT_FALSE(abc == StringW(L"ab"));
  EXPECT_FALSE(abc == L"abcd");
  EXPECT_FALSE(abc == L"ABC");
  EXPECT_TRUE(StringW(L"ab") < abc);
  EXPECT_TRUE(abc < StringW(L"b"));
  EXPECT_FALSE(abc < abc);
  // A string with an empty buffer equals one without a buffer.
  StringW with_buffer(L"", 0);
  EXPECT_TRUE(with_buffer == StringW());
}

TEST(StringTest, SetLengthWithinCapacityMovesTheTerminator) {
  StringW s;
  wchar_t* buffer = s.GetBuffer(10);
  EXPECT_GE(s.Capacity(), 10u);
  std::wmemcpy(buffer, L"written", 7);
  s.SetLength(7);
  EXPECT_TRUE(s == L"written");
  s.SetLength(3);
  EXPECT_TRUE(s == L"wri");
  s.SetLength(s.Capacity());
  EXPECT_EQ(s.Length(), 64u);
  StringW none;
  none.SetLength(0);
  EXPECT_EQ(none.RawPointer(), nullptr);
}

TEST(StringTest, IntToStringWritesDecimalTextAndReplacesTheContents) {
  StringW s(L"previous contents");
  const std::pair<int32_t, const wchar_t*> cases[] = {
      {0, L"0"},
      {7, L"7"},
      {-1, L"-1"},
      {1234567, L"1234567"},
      {INT_MAX, L"2147483647"},
      {INT_MIN, L"-2147483648"},
  };
  for (const auto& c : cases) {
    IntToString(c.first, s);
    EXPECT_EQ(s.ToStd(), c.second);
  }
}

// The memory manager's slots, called the way the plug-in side calls them.
TEST(StringTest, MemMgrSlotOrder) {
  RecordingMemMgr mgr;
  IMemMgr* iface = &mgr;
  void* block = test::CallSlot<void*>(iface, 0, size_t{16});
  void* grown = test::CallSlot<void*>(iface, 1, block, size_t{32});
  test::CallSlot<void>(iface, 2, grown);
  test::CallSlot<void>(iface, 3);
  const std::vector<std::string> expected = {"allocate 16", "reallocate 32", "free", "release"};
  EXPECT_EQ(mgr.log, expected);

  // The default manager behind the same slots.
  IMemMgr* heap = StringMemMgr::Instance();
  void* p = test::CallSlot<void*>(heap, 0, size_t{8});
  ASSERT_NE(p, nullptr);
  std::memset(p, 0x5A, 8);
  p = test::CallSlot<void*>(heap, 1, p, size_t{4096});
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(static_cast<unsigned char*>(p)[7], 0x5A);
  test::CallSlot<void>(heap, 2, p);
  test::CallSlot<void>(heap, 3);
}

// A broken string must end the process, in a child here, never the runner.
// std::terminate ends up in abort(), whose exit code is 3; an access violation
// or a normal exit would be something else.
#define EXPECT_TERMINATES(statement) EXPECT_EXIT(statement, ::testing::ExitedWithCode(3), "")

using StringDeathTest = ::testing::Test;

TEST(StringDeathTest, BrokenLeadingGuardEndsTheProcess) {
  EXPECT_TERMINATES({
    StringW s(L"abc");
    WriteU32(reinterpret_cast<unsigned char*>(s.RawPointer()) - 16, 0xABCC);
    std::fputws(s.c_str(), stdout);
  });
}

TEST(StringDeathTest, BrokenSecondGuardEndsTheProcess) {
  EXPECT_TERMINATES({
    StringW s(L"abc");
    WriteU32(reinterpret_cast<unsigned char*>(s.RawPointer()) - 4, 0);
    s.Append(L"d");
  });
}

TEST(StringDeathTest, BrokenTrailingGuardEndsTheProcess) {
  EXPECT_TERMINATES({
    StringW s(L"abc");
    // One character written past the last position.
    s.RawPointer()[65] = L'x';
    std::printf("%u", static_cast<unsigned>(s.Length()));
  });
}

TEST(StringDeathTest, SetLengthBeyondCapacityEndsTheProcess) {
  EXPECT_TERMINATES({
    StringW s(L"abc");
    s.SetLength(65);
  });
  EXPECT_TERMINATES({
    StringW s;
    s.SetLength(1);
  });
}

TEST(StringDeathTest, StoredLengthBeyondCapacityEndsTheProcess) {
  EXPECT_TERMINATES({
    StringW s(L"abc");
    const_cast<StringHeader*>(s.Header())->length = 65;
    StringW copy(s);
  });
}

}  // namespace
}  // namespace kel
