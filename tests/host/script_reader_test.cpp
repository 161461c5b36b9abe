#include "host/kelhost/script_reader.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace kelhost {
namespace {

std::vector<ScriptLine> ReadAll(const std::string& text) {
  std::istringstream in(text);
  ScriptReader reader(in);
  std::vector<ScriptLine> lines;
  ScriptLine line;
  while (reader.Next(line)) lines.push_back(line);
  return lines;
}

TEST(ScriptReaderTest, SkipsBlankAndCommentLinesButCountsThem) {
  const auto lines = ReadAll(
      "# a script\r\n"
      "   \t \n"
      "{\"op\":\"log\"}\r\n"
      "  # indented comment\n"
      "{\"op\":\"sleep\",\"ms\":1}");  // no final line end
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].number, 3u);
  EXPECT_EQ(lines[0].command["op"].asString(), "log");
  EXPECT_EQ(lines[1].number, 5u);
  EXPECT_EQ(lines[1].command["ms"].asInt(), 1);
}

TEST(ScriptReaderTest, UnreadableLinesAreReportedAndReadingGoesOn) {
  const auto lines = ReadAll(
      "{\"op\":\"log\"\n"              // cut short
      "[1,2]\n"                        // not an object
      "{\"op\":\"log\"} {}\n"          // trailing text
      "{\"op\":\"a\",\"op\":\"b\"}\n"  // duplicate key
      "{'op':'log'}\n"                 // not JSON
      "\"op\"\n"                       // a bare string
      "{\"op\":\"log\"}\n");
  ASSERT_EQ(lines.size(), 7u);
  for (size_t i = 0; i < 6; ++i) {
    EXPECT_FALSE(lines[i].readable) << "line " << lines[i].number;
    EXPECT_FALSE(lines[i].problem.empty()) << "line " << lines[i].number;
    EXPECT_EQ(lines[i].number, i + 1);
  }
  EXPECT_TRUE(lines[6].readable);
  // One line of text, fit for a one-line reply.
  EXPECT_EQ(lines[0].problem.find('\n'), std::string::npos) << lines[0].problem;
  EXPECT_NE(lines[0].problem.find("Line 1, Column"), std::string::npos) << lines[0].problem;
}

TEST(ScriptReaderTest, AbsurdNestingIsAnUnreadableLineNotACrash) {
  const auto lines = ReadAll("{\"x\":" + std::string(100000, '[') + std::string(100000, ']') +
                             "}\n{\"op\":\"log\"}\n");
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_FALSE(lines[0].readable);
  EXPECT_TRUE(lines[1].readable);
}

}  // namespace
}  // namespace kelhost
