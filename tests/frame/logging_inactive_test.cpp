// Runs in a process of its own: nothing may have loaded log.dll before.
#include <atomic>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frame/logging/log.h"
#include "frame/logging/trace_scope.h"
#include "tests/support/log_sink_probe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Counts every load of a module named log.dll, so that a load undone before
// anyone looks is still seen. The loader's notification structures, reduced to
// what is read here.
struct LoaderName {
  USHORT length;  // bytes
  USHORT maximum_length;
  PWSTR buffer;
};
struct LoaderNotification {
  ULONG flags;
  const LoaderName* full_name;
  const LoaderName* base_name;
  PVOID base;
  ULONG size;
};
using LoaderCallback = VOID(CALLBACK*)(ULONG reason, const LoaderNotification* data, PVOID context);
using RegisterFn = LONG(NTAPI*)(ULONG flags, LoaderCallback callback, PVOID context, PVOID* cookie);
using UnregisterFn = LONG(NTAPI*)(PVOID cookie);
constexpr ULONG kReasonLoaded = 1;

class LogDllLoads {
 public:
  LogDllLoads() {
    const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
    auto reg = reinterpret_cast<RegisterFn>(
        reinterpret_cast<void (*)()>(::GetProcAddress(ntdll, "LdrRegisterDllNotification")));
    unregister_ = reinterpret_cast<UnregisterFn>(
        reinterpret_cast<void (*)()>(::GetProcAddress(ntdll, "LdrUnregisterDllNotification")));
    if (reg != nullptr && reg(0, &OnNotification, &count_, &cookie_) != 0) cookie_ = nullptr;
  }
  ~LogDllLoads() {
    if (cookie_ != nullptr && unregister_ != nullptr) unregister_(cookie_);
  }
  LogDllLoads(const LogDllLoads&) = delete;
  LogDllLoads& operator=(const LogDllLoads&) = delete;

  bool watching() const { return cookie_ != nullptr; }
  int count() const { return count_.load(); }

 private:
  static VOID CALLBACK OnNotification(ULONG reason, const LoaderNotification* data, PVOID context) {
    if (reason != kReasonLoaded || data == nullptr || data->base_name == nullptr) return;
    const std::wstring name(data->base_name->buffer, data->base_name->length / sizeof(wchar_t));
    if (::CompareStringOrdinal(name.c_str(), -1, L"log.dll", -1, TRUE) == CSTR_EQUAL) {
      ++*static_cast<std::atomic<int>*>(context);
    }
  }

  std::atomic<int> count_{0};
  PVOID cookie_ = nullptr;
  UnregisterFn unregister_ = nullptr;
};

TEST(LoggingInactiveTest, WithoutAHandleNothingIsWrittenAndTheLibraryIsNeverLoaded) {
  // The library is there to be loaded; only the missing handle keeps it out.
  ASSERT_NE(::GetFileAttributesW((ProgramFolder() + L"log.dll").c_str()), INVALID_FILE_ATTRIBUTES);
  ASSERT_EQ(::GetModuleHandleW(L"log.dll"), nullptr);
  LogDllLoads loads;
  ASSERT_TRUE(loads.watching());

  EXPECT_FALSE(logging::IsActive());
  logging::Write(logging::kLevelFailure, L"Antispam::Agent::Init", L"Null component manager");
  const uint32_t level = logging::kLevelTrace;
  LogWriteFormatted(logging::kDepthSame, &level, logging::ThisModule(), L"F", L"%s", L"x");
  { TraceScope scope(L"Antispam::Agent::Start"); }
  EXPECT_THROW(
      {
        TraceScope scope(L"Antispam::Agent::Stop");
        throw std::runtime_error("leaving");
      },
      std::runtime_error);
  EXPECT_EQ(::GetModuleHandleW(L"log.dll"), nullptr);
  EXPECT_EQ(loads.count(), 0);

  // Nothing was kept back either: the first binding finds no writes waiting.
  logging::LogHandle handle;
  SinkProbe probe;
  ASSERT_NE(probe.module(), nullptr);
  EXPECT_EQ(loads.count(), 1);
  EXPECT_EQ(ModulePath(probe.module()), ProgramFolder() + L"log.dll");
  EXPECT_THAT(probe.DrainCalls(), ElementsAre("LogInit"));
  EXPECT_THAT(probe.DrainLines(), IsEmpty());
}

}  // namespace
