#pragma once
// Runs scripts through a session: one reply line per command on `out`, the
// expectations of each line checked against its reply, and a note on
// `diagnostics` for each line that failed.
//
// A line fails when an expectation does not hold ("ok": false and a
// "mismatch" text are added to its reply), when it is unreadable, or when its
// reply carries "error" that the line did not anticipate by expecting an
// "error" member ("expect" or "expectHas"). Any failed line makes the run fail.
#include <istream>
#include <ostream>
#include <string>

#include "host/kelhost/session.h"

namespace kelhost {

class Runner {
 public:
  Runner(Session& session, std::ostream& out, std::ostream& diagnostics)
      : session_(session), out_(out), diagnostics_(diagnostics) {}

  // `source` names the script in diagnostics.
  void Run(std::istream& in, const std::string& source);

  bool AllHeld() const { return failedLines_ == 0; }
  size_t FailedLines() const { return failedLines_; }

 private:
  void Fail(const std::string& source, size_t line, const std::string& why);

  Session& session_;
  std::ostream& out_;
  std::ostream& diagnostics_;
  size_t failedLines_ = 0;
};

}  // namespace kelhost
