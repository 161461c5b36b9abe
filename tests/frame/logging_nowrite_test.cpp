// Runs in a process of its own: the library without "LogWrite" must be the
// only log.dll this process ever loads.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frame/logging/log.h"
#include "frame/logging/trace_scope.h"
#include "tests/support/log_sink_probe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

TEST(LoggingWithoutWriteTest, LibraryStillBindsAndWritesDoNothing) {
  ASSERT_EQ(::GetModuleHandleW(L"log.dll"), nullptr);
  SinkProbe probe(ProgramFolder() + L"nowrite\\log.dll");
  ASSERT_NE(probe.module(), nullptr);
  ASSERT_EQ(::GetProcAddress(probe.module(), "LogWrite"), nullptr);
  {
    logging::LogHandle handle;
    ASSERT_NE(handle.get(), nullptr);
    EXPECT_EQ(handle->module(), probe.module());
    EXPECT_THAT(probe.DrainCalls(), ElementsAre("LogInit"));

    TraceScope scope(L"Content::Agent::RunPolicyMethod");
    logging::Write(logging::kLevelFailure, L"Content::Agent::Init", L"Unknown method %s", L"X");
    const uint32_t level = logging::kLevelTrace;
    LogWriteFormatted(logging::kDepthSame, &level, logging::ThisModule(), L"F", L"%d", 1);
  }
  EXPECT_THAT(probe.DrainLines(), IsEmpty());
  // The library beside this program was never looked at.
  EXPECT_EQ(::GetModuleHandleW(L"log.dll"), probe.module());
  EXPECT_THAT(probe.DrainCalls(), ElementsAreArray(TeardownCalls()));
}

}  // namespace
