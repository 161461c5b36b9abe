#include "host/kelhost/script_reader.h"

#include "host/kelhost/json_io.h"

namespace kelhost {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f'; }

}  // namespace

bool ScriptReader::Next(ScriptLine& line) {
  std::string text;
  while (std::getline(in_, text)) {
    ++number_;
    size_t first = 0;
    while (first < text.size() && IsBlank(text[first])) ++first;
    if (first == text.size() || text[first] == '#') continue;
    // Scripts written on Windows end their lines with CR LF.
    if (!text.empty() && text.back() == '\r') text.pop_back();

    line = ScriptLine();
    line.number = number_;
    Json::Value command;
    if (!ParseJson(text, command, line.problem)) return true;
    if (!command.isObject()) {
      line.problem = "a command must be a JSON object";
      return true;
    }
    line.readable = true;
    line.command = std::move(command);
    return true;
  }
  return false;
}

}  // namespace kelhost
