#pragma once
// Reads a JSON-lines script: one command object per line. Blank lines and
// lines whose first non-blank character is "#" are skipped; a line that is not
// a JSON object is handed on as unreadable rather than stopping the script.
#include <istream>
#include <string>

#include <json/value.h>

namespace kelhost {

struct ScriptLine {
  size_t number = 0;      // 1-based, counting skipped lines too
  bool readable = false;  // `command` holds a JSON object
  Json::Value command;
  std::string problem;  // why the line is unreadable
};

class ScriptReader {
 public:
  explicit ScriptReader(std::istream& in) : in_(in) {}

  // The next command line; false at the end of the input.
  bool Next(ScriptLine& line);

 private:
  std::istream& in_;
  size_t number_ = 0;
};

}  // namespace kelhost
