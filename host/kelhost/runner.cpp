#include "host/kelhost/runner.h"

#include "host/kelhost/expectations.h"
#include "host/kelhost/json_io.h"
#include "host/kelhost/script_reader.h"

namespace kelhost {

void Runner::Fail(const std::string& source, size_t line, const std::string& why) {
  ++failedLines_;
  diagnostics_ << source << ":" << line << ": " << why << "\n";
  diagnostics_.flush();
}

void Runner::Run(std::istream& in, const std::string& source) {
  ScriptReader reader(in);
  ScriptLine line;
  while (reader.Next(line)) {
    Json::Value reply(Json::objectValue);
    if (!line.readable) {
      reply["error"] = "unreadable line";
      reply["detail"] = line.problem;
      reply["line"] = static_cast<Json::UInt64>(line.number);
      Fail(source, line.number, "unreadable line: " + line.problem);
    } else {
      reply = session_.Execute(line.command);
      const std::vector<std::string> mismatches = CheckExpectations(line.command, reply);
      const Json::Value* error = FindMember(reply, "error");
      if (!mismatches.empty()) {
        std::string text;
        for (const std::string& mismatch : mismatches)
          text += (text.empty() ? "" : "; ") + mismatch;
        reply["ok"] = false;
        reply["mismatch"] = text;
        Fail(source, line.number, text);
      } else if (error != nullptr && !AnticipatesError(line.command)) {
        const Json::Value* detail = FindMember(reply, "detail");
        Fail(source, line.number,
             error->asString() + (detail ? ": " + detail->asString() : std::string()));
      }
    }
    out_ << CompactJson(reply) << "\n";
    out_.flush();
  }
}

}  // namespace kelhost
