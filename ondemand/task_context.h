#pragma once
// The console's context of a run never reaches the plug-in bare: it travels
// wrapped, with the policy it came with, as a small JSON document
//   {"data": {"context": "...", "policyId": "..."}}
// written by jsoncpp's styled writer, and comes back in the plug-in's reports.
//
// Unwrapping never fails. The plug-in may report runs it started itself (a
// schedule) or contexts some other client gave it; a text that is not such a
// document (not JSON, too deeply nested for the reader, no "data" object, or
// a "context" that is not a string) is reported as it is, with no policy.
#include <string>

#include "frame/string.h"

namespace MailServers {

struct TaskContext {
  std::string context;   // UTF-8
  std::string policyId;  // UTF-8; empty when the text was not wrapped
};

kel::StringW WrapContext(const std::string& context, const std::string& policyId);
TaskContext UnwrapContext(const kel::StringW& wrapped) noexcept;

}  // namespace MailServers
