#include "frame/logging/trace_scope.h"

#include <cwchar>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frame/logging/log.h"
#include "tests/support/log_sink_probe.h"

namespace {

using ::testing::ElementsAre;

// The elapsed milliseconds of a "<- Name() [N]" line for `decorated`; -1 if
// the line has another shape.
long long ElapsedOf(const std::wstring& message, const std::wstring& decorated) {
  const std::wstring head = L"<- " + decorated + L" [";
  if (message.compare(0, head.size(), head) != 0 || message.back() != L']') return -1;
  const std::wstring digits = message.substr(head.size(), message.size() - head.size() - 1);
  if (digits.empty() || digits.find_first_not_of(L"0123456789") != std::wstring::npos) return -1;
  return std::stoll(digits);
}

class TraceScopeTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(probe_.module(), nullptr); }

  SinkProbe probe_{ProgramFolder() + L"log.dll"};
};

// The inner scope is left by an exception: its leave line is written all the same.
TEST_F(TraceScopeTest, NestedScopesWriteEnterAndLeaveLinesWithTheirDepths) {
  {
    logging::LogHandle handle;
    TraceScope outer(L"Agent::RunPolicyMethod");
    EXPECT_THROW(
        {
          TraceScope inner(L"Agent::SetRules");
          ::Sleep(50);
          throw std::runtime_error("plug-in missing");
        },
        std::runtime_error);
  }
  const std::vector<RecordedLine> lines = probe_.DrainLines();
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0],
            (RecordedLine{32, 1, L"Agent::RunPolicyMethod", L"-> Agent::RunPolicyMethod()"}));
  EXPECT_EQ(lines[1], (RecordedLine{32, 1, L"Agent::SetRules", L"-> Agent::SetRules()"}));
  EXPECT_EQ(lines[2].function, L"Agent::SetRules");
  EXPECT_EQ(lines[2].depth_change, 0xFFFF);
  EXPECT_EQ(lines[3].depth_change, 0xFFFF);
  const long long inner_ms = ElapsedOf(lines[2].message, L"Agent::SetRules()");
  // timeGetTime may tick in steps of up to ~16 ms.
  EXPECT_GE(inner_ms, 30) << ::testing::PrintToString(lines[2].message);
  EXPECT_GE(ElapsedOf(lines[3].message, L"Agent::RunPolicyMethod()"), inner_ms)
      << ::testing::PrintToString(lines[3].message);
}

TEST_F(TraceScopeTest, LongNamesAreCutToFitTheirBuffers) {
  const size_t cap = TraceScope::kNameCapacity;
  const std::wstring fits(cap - 3, L'n');  // the longest kept whole
  EXPECT_EQ(std::wstring(TraceScope(fits.c_str()).decorated_name()), fits + L"()");

  const std::wstring name(300, L'x');
  {
    logging::LogHandle handle;
    TraceScope scope(name.c_str());
  }
  const std::vector<RecordedLine> lines = probe_.DrainLines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].function, name.substr(0, cap - 1));
  EXPECT_EQ(lines[0].message, L"-> " + name.substr(0, cap - 3) + L"()");
}

}  // namespace
