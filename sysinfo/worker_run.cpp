#include "sysinfo/worker_run.h"

#include <shlwapi.h>

#include "frame/owners.h"
#include "frame/result_codes.h"
#include "sysinfo/child_process.h"
#include "sysinfo/stop_event.h"

namespace SystemInfo {

std::wstring WorkerPathBeside(HMODULE module) {
  wchar_t path[MAX_PATH] = {};
  const DWORD length = ::GetModuleFileNameW(module, path, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return std::wstring();
  ::PathRemoveFileSpecW(path);
  if (!::PathAddBackslashW(path)) return std::wstring();
  return std::wstring(path) + kWorkerFileName;
}

WorkerOutcome RunWorker(const std::wstring& executable, const wchar_t* switchText,
                        RunControl& control, size_t outputLimit) noexcept {
  WorkerOutcome outcome;
  try {
    kel::UniqueEvent stop;
    std::wstring stopName;
    if (const DWORD status = CreateStopEvent(stop, stopName)) {
      outcome.code = status;
      return outcome;
    }
    const std::wstring commandLine =
        L"\"" + executable + L"\" " + switchText + L" stopEventName=\"" + stopName + L"\"";

    ChildProcess child;
    if (const DWORD status = child.Start(commandLine)) {
      outcome.code = status;
      return outcome;
    }
    // A stop that came while the worker started reaches it like any other.
    if (control.Enter(stop.get(), child.process())) ::SetEvent(stop.get());
    bool overflowed = false;
    const DWORD readStatus = child.ReadOutput(outcome.output, outputLimit, overflowed);
    // A worker cut off mid-write may not notice; the event tells it to end.
    if (overflowed) ::SetEvent(stop.get());
    const uint32_t exitCode = child.WaitForExit();
    // A worker still alive (it closed its output early) is told to end.
    ::SetEvent(stop.get());
    control.Leave(stop.get());

    if (overflowed) {
      outcome.output.clear();
      outcome.output.shrink_to_fit();
      outcome.code = ERROR_FILE_TOO_LARGE;
    } else if (exitCode == 1) {
      outcome.code = kel::result::kWorkerExitedWithOne;
    } else if (exitCode != 0) {
      outcome.code = exitCode;
    } else {
      outcome.code = readStatus;
    }
  } catch (...) {
    outcome.output.clear();
    outcome.code = ERROR_NOT_ENOUGH_MEMORY;
  }
  return outcome;
}

}  // namespace SystemInfo
