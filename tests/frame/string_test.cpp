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

TEST(StringTest, EmptyStringReadsAsEmptyTextAndFreshBuffersHaveTheSharedLayout) {
  StringW s;
  ASSERT_EQ(s.RawPointer(), nullptr);
  EXPECT_EQ(s.c_str()[0], L'\0');
  // Assigning nothing still allocates one step.
  s.Assign(L"", 0);
  ExpectFrame(s, 64);
  EXPECT_TRUE(s == StringW());

  StringW abc(L"abc");
  ExpectFrame(abc, 64);
  const StringHeader* h = abc.Header();
  EXPECT_EQ(h->mgr, StringMemMgr::Instance());
  EXPECT_EQ(h->length, 3u);
  EXPECT_EQ(h->step, 64u);
  EXPECT_EQ(h->buffer_owned, 1);
  EXPECT_EQ(h->header_owned, 1);
  for (size_t i = 3; i <= 64; ++i) EXPECT_EQ(abc.RawPointer()[i], L'\0') << i;
}

TEST(StringTest, GrowthFollowsTheDoublingThenLinearRule) {
  struct Case {
    size_t from;
    size_t needed;
    size_t expected;
  };
  const Case cases[] = {
      {64, 65, 128}, {64, 1000, 1000}, {1024, 1025, 2048}, {2048, 2049, 3072}, {1500, 1501, 2524},
  };
  for (const Case& c : cases) {
    StringW s(Repeat(c.from));
    ASSERT_EQ(s.Capacity(), c.from);
    const std::wstring text = Repeat(c.needed);
    s.Assign(text.c_str(), text.size());
    EXPECT_EQ(s.ToStd(), text);
    ExpectFrame(s, c.expected);
  }
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
  EXPECT_EQ(mgr.freed, std::vector<void*>{const_cast<void*>(old_block)});
  EXPECT_EQ(s.ToStd(), text + L"tail");
  for (size_t i = 68; i <= 128; ++i) EXPECT_EQ(s.RawPointer()[i], L'\0') << i;
  ExpectFrame(s, 128);
}

TEST(StringTest, TeardownFreesWhatTheHeaderOwnsBlockFirstThenReleasesTheManager) {
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
  EXPECT_EQ(mgr.freed, (std::vector<void*>{const_cast<void*>(block), const_cast<void*>(header)}));

  // A borrowed buffer is copied, never reallocated, when it must grow; a borrowed
  // header is never freed.
  StringW s(&mgr, 64);
  s = L"borrowed";
  StringHeader* h = const_cast<StringHeader*>(s.Header());
  void* borrowed = const_cast<unsigned char*>(BlockOf(s));
  h->buffer_owned = 0;
  h->header_owned = 0;
  mgr.log.clear();
  s.Append(Repeat(100).c_str());
  EXPECT_EQ(h->buffer_owned, 1);
  EXPECT_EQ(s.ToStd(), L"borrowed" + Repeat(100));
  s.Reset();
  EXPECT_EQ(mgr.log, (std::vector<std::string>{"allocate 278", "free", "release"}));
  std::free(borrowed);
  std::free(h);
}

TEST(StringTest, CopyMoveAssignAppendAndSetLength) {
  StringW a(L"alpha");
  StringW b(a);
  b.Append(L"!");
  EXPECT_TRUE(a == L"alpha");
  wchar_t* buffer = b.RawPointer();
  StringW d(std::move(b));
  EXPECT_EQ(d.RawPointer(), buffer);
  // Copying an empty string without buffer empties the target but keeps its buffer.
  const StringW empty;
  d = empty;
  EXPECT_TRUE(d.IsEmpty());
  EXPECT_EQ(d.RawPointer(), buffer);

  const std::wstring with_zero(L"a\0b", 3);
  EXPECT_EQ(StringW(with_zero).ToStd(), with_zero);
  // From the string's own characters, even when that reallocates.
  StringW s(L"0123456789");
  s.Assign(s.c_str() + 4, 3);
  EXPECT_TRUE(s == L"456");
  StringW t(Repeat(60));
  t.Append(t.c_str(), t.Length());
  EXPECT_EQ(t.ToStd(), Repeat(60) + Repeat(60));

  std::wmemcpy(s.GetBuffer(10), L"written", 7);
  s.SetLength(7);
  EXPECT_TRUE(s == L"written");
  s.SetLength(3);
  EXPECT_TRUE(s == L"wri");
  EXPECT_FALSE(s == L"wri!");
}

TEST(StringTest, IntToStringReplacesTheContentsWithDecimalText) {
  StringW s(L"previous contents");
  const std::pair<int32_t, const wchar_t*> cases[] = {
      {0, L"0"}, {-1, L"-1"}, {INT_MAX, L"2147483647"}, {INT_MIN, L"-2147483648"}};
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
}

// A broken string must end the process, in a child here, never the runner.
// std::terminate ends up in abort(), whose exit code is 3; an access violation
// or a normal exit would be something else.
TEST(StringDeathTest, BrokenFramesAndLengthsEndTheProcess) {
  using Breaker = void (*)();
  const Breaker cases[] = {
      [] {  // leading guard
        StringW s(L"abc");
        WriteU32(reinterpret_cast<unsigned char*>(s.RawPointer()) - 16, 0xABCC);
        std::fputws(s.c_str(), stdout);
      },
      [] {  // second guard
        StringW s(L"abc");
        WriteU32(reinterpret_cast<unsigned char*>(s.RawPointer()) - 4, 0);
        s.Append(L"d");
      },
      [] {  // trailing guard: one character written past the last position
        StringW s(L"abc");
        s.RawPointer()[65] = L'x';
        std::printf("%u", static_cast<unsigned>(s.Length()));
      },
      [] {
        StringW s(L"abc");
        s.SetLength(65);
      },
      [] {
        StringW s;
        s.SetLength(1);
      },
      [] {  // stored length beyond capacity
        StringW s(L"abc");
        const_cast<StringHeader*>(s.Header())->length = 65;
        StringW copy(s);
      },
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    EXPECT_EXIT(cases[i](), ::testing::ExitedWithCode(3), "") << "case " << i;
  }
}

}  // namespace
}  // namespace kel
