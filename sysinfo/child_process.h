#pragma once
// A child process whose standard output comes back through an anonymous pipe,
// and a thread that records its exit code when it ends.
//
// The child inherits exactly one handle, the write end of the pipe: the
// handle list names it alone, so whatever else this process has made
// inheritable (the host's own handles, another worker's pipe) stays here.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

#include "frame/owners.h"
#include "frame/win.h"
#include "frame/worker_thread.h"

namespace SystemInfo {

class ChildProcess {
 public:
  ChildProcess() = default;
  // Stops the monitor, then closes the handles.
  ~ChildProcess();
  // Neither copied nor moved: the monitor thread holds handles this object
  // owns. The handles sit in move-only owners, not in holders shared by a
  // count: a copy of a running child would give two objects the right to
  // close the pipe and stop the monitor, and which of them did it last would
  // depend on who let go last. One owner closes each handle once.
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Starts `commandLine` (no application name: the line's first, quoted,
  // token names the program). Answers a Win32 code.
  DWORD Start(const std::wstring& commandLine) noexcept;

  // Appends what the child writes until it closes its output, keeping at most
  // `limit` bytes. Past the limit the pipe is closed, which ends a child that
  // goes on writing, and `overflowed` is set. Answers 0 or the read's code
  // when the pipe fails for another reason than its other end closing.
  DWORD ReadOutput(std::string& out, size_t limit, bool& overflowed) noexcept;

  // Closes this end of the pipe: a child still writing fails from then on.
  void CloseOutput() noexcept { readEnd_.reset(); }

  // Waits for the child to end and answers its exit code.
  uint32_t WaitForExit() noexcept;

  HANDLE process() const noexcept { return process_.get().hProcess; }

 private:
  kel::UniqueProcessInformation process_;
  kel::UniquePipe readEnd_;
  kel::UniqueEvent exited_;  // set by the monitor once exitCode_ holds
  kel::WorkerThread monitor_;
  std::atomic<uint32_t> exitCode_{0};
};

}  // namespace SystemInfo
