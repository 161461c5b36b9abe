#pragma once
// The worker's command line, as the system-information agent writes it:
//   "PATH" /listmb stopEventName="NAME"   or   "PATH" /orgConfig stopEventName="NAME"
// The switch is matched case-insensitively; the stop event may be left out
// (a run by hand then cannot be stopped early).
#include <string>

namespace Worker {

enum class Listing { kStructure, kConfiguration };

struct CommandLine {
  Listing listing = Listing::kStructure;
  std::wstring stopEventName;
};

// Parses the whole command line, program name first. False, with a one-line
// reason in `error`, for a missing or repeated switch and anything unknown.
bool ParseCommandLine(const wchar_t* line, CommandLine& out, std::wstring& error);

}  // namespace Worker
