#include "sysinfo/child_process.h"

#include <algorithm>
#include <vector>

#include "frame/scope_exit.h"
#include "frame/win32_error.h"

namespace SystemInfo {
namespace {

// Far more than one 512-byte pipe packet, so that large outputs are not read
// in thousands of small round trips.
constexpr DWORD kReadChunk = 64 * 1024;

}  // namespace

ChildProcess::~ChildProcess() { monitor_.Stop(); }

DWORD ChildProcess::Start(const std::wstring& commandLine) noexcept {
  try {
    kel::UniquePipe readEnd;
    kel::UniquePipe writeEnd;
    KEL_RETURN_IF_WIN32_BOOL_FALSE(::CreatePipe(readEnd.put(), writeEnd.put(), nullptr, 0));
    KEL_RETURN_IF_WIN32_BOOL_FALSE(::SetHandleInformation(readEnd.get(), HANDLE_FLAG_INHERIT, 0));
    // The child's copy: inheritable, the same access. The original write end
    // closes with this function, so that only the child holds one.
    kel::UniquePipe childWriteEnd;
    KEL_RETURN_IF_WIN32_BOOL_FALSE(::DuplicateHandle(::GetCurrentProcess(), writeEnd.get(),
                                                     ::GetCurrentProcess(), childWriteEnd.put(), 0,
                                                     TRUE, DUPLICATE_SAME_ACCESS));
    writeEnd.reset();

    kel::UniqueAttributeList attributes;
    KEL_RETURN_IF_WIN32_ERROR(kel::MakeAttributeList(1, attributes));
    HANDLE inherited[] = {childWriteEnd.get()};
    KEL_RETURN_IF_WIN32_BOOL_FALSE(
        ::UpdateProcThreadAttribute(attributes.get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST,
                                    inherited, sizeof(inherited), nullptr, nullptr));

    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof(startup);
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdOutput = childWriteEnd.get();
    startup.lpAttributeList = attributes.get();

    // CreateProcessW may write into the command line.
    std::vector<wchar_t> line(commandLine.begin(), commandLine.end());
    line.push_back(L'\0');
    kel::UniqueProcessInformation process;
    KEL_RETURN_IF_WIN32_BOOL_FALSE(::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE,
                                                    EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr,
                                                    &startup.StartupInfo, process.put()));
    // Our copy of the write end must go now: the pipe reports its end only
    // once every write end is closed.
    childWriteEnd.reset();
    // Nobody would read or stop a child whose start fails from here on.
    const HANDLE started = process.get().hProcess;
    kel::ScopeExit orphan([started] { ::TerminateProcess(started, ERROR_INTERNAL_ERROR); });

    kel::UniqueEvent exited(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    KEL_RETURN_LAST_ERROR_IF_NULL(exited);
    const HANDLE child = process.get().hProcess;
    const HANDLE exitedEvent = exited.get();
    std::atomic<uint32_t>* exitCode = &exitCode_;
    // The monitor only reads handles that this object owns and that outlive
    // it: the destructor stops the monitor before any owner closes.
    KEL_RETURN_IF_WIN32_ERROR(monitor_.Start([child, exitedEvent, exitCode](HANDLE stop) {
      const HANDLE waits[] = {child, stop};
      if (::WaitForMultipleObjects(2, waits, FALSE, INFINITE) != WAIT_OBJECT_0) return;
      DWORD code = 0;
      if (::GetExitCodeProcess(child, &code)) exitCode->store(code);
      ::SetEvent(exitedEvent);
    }));
    orphan.Dismiss();
    process_ = std::move(process);
    readEnd_ = std::move(readEnd);
    exited_ = std::move(exited);
    return ERROR_SUCCESS;
  } catch (...) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
}

DWORD ChildProcess::ReadOutput(std::string& out, size_t limit, bool& overflowed) noexcept {
  overflowed = false;
  if (!readEnd_) return ERROR_INVALID_HANDLE;
  try {
    std::vector<char> chunk(kReadChunk);
    for (;;) {
      DWORD got = 0;
      if (!::ReadFile(readEnd_.get(), chunk.data(), kReadChunk, &got, nullptr)) {
        const DWORD error = ::GetLastError();
        readEnd_.reset();
        return error == ERROR_BROKEN_PIPE ? ERROR_SUCCESS : error;
      }
      if (got == 0) break;
      if (got > limit - std::min(limit, out.size())) {
        overflowed = true;
        break;
      }
      out.append(chunk.data(), got);
    }
  } catch (...) {
    readEnd_.reset();
    return ERROR_NOT_ENOUGH_MEMORY;
  }
  readEnd_.reset();
  return ERROR_SUCCESS;
}

uint32_t ChildProcess::WaitForExit() noexcept {
  if (!exited_) return ERROR_INVALID_HANDLE;
  ::WaitForSingleObject(exited_.get(), INFINITE);
  return exitCode_.load();
}

}  // namespace SystemInfo
