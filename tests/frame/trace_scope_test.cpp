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

TEST_F(TraceScopeTest, NestedScopesWriteEnterAndLeaveLinesWithTheirDepths) {
  {
    logging::LogHandle handle;
    TraceScope outer(L"Antispam::Agent::RunPolicyMethod");
    {
      TraceScope inner(L"Antispam::Agent::SetRules");
      ::Sleep(50);
    }
  }
  const std::vector<RecordedLine> lines = probe_.DrainLines();
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0], (RecordedLine{32, 1, L"Antispam::Agent::RunPolicyMethod",
                                    L"-> Antispam::Agent::RunPolicyMethod()"}));
  EXPECT_EQ(lines[1],
            (RecordedLine{32, 1, L"Antispam::Agent::SetRules", L"-> Antispam::Agent::SetRules()"}));
  for (size_t i : {size_t{2}, size_t{3}}) {
    EXPECT_EQ(lines[i].level, 32u);
    EXPECT_EQ(lines[i].depth_change, 0xFFFF);
  }
  EXPECT_EQ(lines[2].function, L"Antispam::Agent::SetRules");
  EXPECT_EQ(lines[3].function, L"Antispam::Agent::RunPolicyMethod");
  const long long inner_ms = ElapsedOf(lines[2].message, L"Antispam::Agent::SetRules()");
  const long long outer_ms = ElapsedOf(lines[3].message, L"Antispam::Agent::RunPolicyMethod()");
  // timeGetTime may tick in steps of up to ~16 ms.
  EXPECT_GE(inner_ms, 30) << ::testing::PrintToString(lines[2].message);
  EXPECT_LT(inner_ms, 10000);
  EXPECT_GE(outer_ms, inner_ms) << ::testing::PrintToString(lines[3].message);
}

TEST_F(TraceScopeTest, LeavingByAnExceptionStillWritesTheLeaveLine) {
  {
    logging::LogHandle handle;
    EXPECT_THROW(
        {
          TraceScope scope(L"QuarantineAgent::Agent::Init");
          throw std::runtime_error("plug-in missing");
        },
        std::runtime_error);
  }
  const std::vector<RecordedLine> lines = probe_.DrainLines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].message, L"-> QuarantineAgent::Agent::Init()");
  EXPECT_EQ(lines[1].depth_change, 0xFFFF);
  EXPECT_EQ(lines[1].function, L"QuarantineAgent::Agent::Init");
  EXPECT_GE(ElapsedOf(lines[1].message, L"QuarantineAgent::Agent::Init()"), 0)
      << ::testing::PrintToString(lines[1].message);
}

TEST_F(TraceScopeTest, LongNamesAreCutToFitTheirBuffers) {
  const std::wstring fits(TraceScope::kNameCapacity - 3, L'n');  // the longest kept whole
  EXPECT_EQ(std::wstring(TraceScope(fits.c_str()).decorated_name()), fits + L"()");
  EXPECT_STREQ(TraceScope(L"").decorated_name(), L"()");

  std::wstring name;
  while (name.size() < 300) name += L"Namespace::";
  logging::LogHandle handle;
  {
    TraceScope scope(name.c_str());
    const std::wstring decorated = scope.decorated_name();
    ASSERT_EQ(decorated.size(), TraceScope::kNameCapacity - 1);
    EXPECT_EQ(decorated, name.substr(0, TraceScope::kNameCapacity - 3) + L"()");
    EXPECT_EQ(std::wstring(scope.name()), name.substr(0, TraceScope::kNameCapacity - 1));
  }
  const std::vector<RecordedLine> lines = probe_.DrainLines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].function, name.substr(0, TraceScope::kNameCapacity - 1));
  EXPECT_EQ(lines[0].message, L"-> " + name.substr(0, TraceScope::kNameCapacity - 3) + L"()");
}

}  // namespace
