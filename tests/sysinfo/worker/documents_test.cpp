// What the worker's documents make of any text: the characters XML must
// escape, and those it cannot carry replaced. The documents themselves, with
// such values, run against a directory (tests/sysinfo/directory: the worker's
// XML in worker_test.py, the agent's JSON in small_org.jsonl).
#include <gtest/gtest.h>

#include "sysinfo/worker/xml_writer.h"

namespace {

using namespace Worker;

TEST(XmlEscape, EveryCharacterClass) {
  const struct {
    std::wstring in;
    const char* out;
  } rows[] = {
      {L"plain", "plain"},
      {L"a&b<c>d\"e'f", "a&amp;b&lt;c&gt;d&quot;e&apos;f"},
      {L"&amp;", "&amp;amp;"},
      {L"tab\tline\ncr\r", "tab&#9;line&#10;cr&#13;"},
      {std::wstring(L"nul\0bell\x07", 9), "nul\xEF\xBF\xBD" "bell\xEF\xBF\xBD"},
      {L"\x1F\x20", "\xEF\xBF\xBD "},
      {L"Z\u00fcrich \u5c71\u7530", "Z\xC3\xBCrich \xE5\xB1\xB1\xE7\x94\xB0"},
      {L"\u07FF\u0800", "\xDF\xBF\xE0\xA0\x80"},
      {L"rocket \xD83D\xDE80", "rocket \xF0\x9F\x9A\x80"},
      {L"lone \xD83D end", "lone \xEF\xBF\xBD end"},
      {L"lone \xDE80 end", "lone \xEF\xBF\xBD end"},
      {L"last \xD83D", "last \xEF\xBF\xBD"},
      {L"\xFFFE\xFFFF\xFFFD", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
  };
  for (const auto& row : rows) {
    std::string out;
    AppendEscaped(out, row.in.data(), row.in.size());
    EXPECT_EQ(out, row.out) << testing::PrintToString(row.in);
  }
}

}  // namespace
