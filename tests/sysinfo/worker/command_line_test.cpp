// The worker's command line as the agent writes it, and what it refuses.
#include <gtest/gtest.h>

#include "sysinfo/worker/command_line.h"

namespace {

using Worker::CommandLine;
using Worker::Listing;
using Worker::ParseCommandLine;

TEST(CommandLine, ReadsWhatTheAgentWrites) {
  const struct {
    const wchar_t* line;
    Listing listing;
    const wchar_t* stopEvent;
  } rows[] = {
      {L"\"C:\\Program Files\\Kel\\MailServers.OnDemand.Agent.exe\" /listmb stopEventName=\"BCDEFGHIJKLMNOPQRSTUVWXY\"",
       Listing::kStructure, L"BCDEFGHIJKLMNOPQRSTUVWXY"},
      {L"\"Z:\\w\\MailServers.OnDemand.Agent.exe\" /orgConfig stopEventName=\"ZZZZ\"", Listing::kConfiguration,
       L"ZZZZ"},
      {L"worker.exe /ORGCONFIG", Listing::kConfiguration, L""},
      {L"worker.exe stopEventName=\"Q\" /ListMB", Listing::kStructure, L"Q"},
  };
  for (const auto& row : rows) {
    CommandLine parsed;
    std::wstring error;
    ASSERT_TRUE(ParseCommandLine(row.line, parsed, error)) << testing::PrintToString(std::wstring(error));
    EXPECT_EQ(parsed.listing, row.listing);
    EXPECT_EQ(parsed.stopEventName, row.stopEvent);
  }
}

TEST(CommandLine, RefusesWhatItDoesNotKnow) {
  const struct {
    const wchar_t* line;
    const wchar_t* reasonHas;
  } rows[] = {
      {L"worker.exe", L"usage"},
      {L"worker.exe stopEventName=\"X\"", L"usage"},
      {L"worker.exe /listmb /orgConfig", L"more than one switch"},
      {L"worker.exe /listmb /listmb", L"more than one switch"},
      {L"worker.exe /listmb stopEventName=\"A\" stopEventName=\"B\"", L"twice"},
      {L"worker.exe /listmb stopEventName=\"\"", L"empty"},
      {L"worker.exe /listmbx", L"unknown argument: /listmbx"},
      {L"worker.exe /listmb stopeventname=\"X\"", L"unknown argument"},
  };
  for (const auto& row : rows) {
    CommandLine parsed;
    parsed.stopEventName = L"untouched";
    std::wstring error;
    EXPECT_FALSE(ParseCommandLine(row.line, parsed, error)) << testing::PrintToString(std::wstring(row.line));
    EXPECT_NE(error.find(row.reasonHas), std::wstring::npos) << testing::PrintToString(error);
    EXPECT_EQ(parsed.stopEventName, L"untouched");
  }
}

}  // namespace
