#pragma once
// One run of the worker executable: start it with a switch and a fresh stop
// event, collect its standard output, and turn its exit into an outcome code.
#include <cstddef>
#include <cstdint>
#include <string>

#include "frame/win.h"

namespace SystemInfo {

inline constexpr wchar_t kWorkerFileName[] = L"MailServers.OnDemand.Agent.exe";

// The most output a run keeps. An organisation of 50,000 mailboxes writes
// about 15 MB; past this the pipe is closed and the run fails with
// ERROR_FILE_TOO_LARGE, so a runaway worker cannot take the host's memory.
inline constexpr size_t kMaxWorkerOutput = 64u * 1024 * 1024;

// Told about each run so that a stop can reach it. Enter registers a started
// worker and answers true when it must be told to stop at once (the agent
// began stopping while it started); Leave is called once for every Enter.
class RunControl {
 public:
  virtual bool Enter(HANDLE stopEvent, HANDLE process) = 0;
  virtual void Leave(HANDLE stopEvent) = 0;

 protected:
  ~RunControl() = default;
};

struct WorkerOutcome {
  uint32_t code = 0;  // 0, the worker's exit code (1 reported as 1223), or a Win32 code
  std::string output;
};

// "<folder of `module`>\MailServers.OnDemand.Agent.exe"; empty when the path
// does not fit the system's 260 characters.
std::wstring WorkerPathBeside(HMODULE module);

// Runs `executable` with `switchText`. The outcome is the code of a step that
// failed (pipe, event, process), ERROR_FILE_TOO_LARGE past kMaxWorkerOutput,
// or the exit code (1 reported as 1223).
WorkerOutcome RunWorker(const std::wstring& executable, const wchar_t* switchText,
                        RunControl& control, size_t outputLimit = kMaxWorkerOutput) noexcept;

}  // namespace SystemInfo
