// MailServers.OnDemand.Agent.exe: lists the Exchange organisation from the
// directory for the system-information agent, which starts it as
//   "PATH" /listmb|/orgConfig stopEventName="NAME"
// and reads the XML it writes to standard output.
//
// Exit codes: 0 listed; 1 stopped through the stop event; otherwise a Win32
// code: 87 a command line it does not understand, 1610 a directory setting
// it does not understand, 8250 no directory server answers, 1460 the server
// did not answer in time, 1326 the bind was refused, 8240 no organisation in
// the forest, or the code of another failure. Every failure is also told on
// standard error in one line.
#include <algorithm>
#include <new>
#include <string>

#include "frame/owners.h"
#include "frame/text_convert.h"
#include "frame/win.h"
#include "sysinfo/worker/command_line.h"
#include "sysinfo/worker/directory_connection.h"
#include "sysinfo/worker/directory_settings.h"
#include "sysinfo/worker/documents.h"
#include "sysinfo/worker/organisation_reader.h"

namespace {

constexpr int kExitStopped = 1;

DWORD WriteAll(HANDLE to, const std::string& text) {
  size_t at = 0;
  while (at < text.size()) {
    const DWORD chunk = static_cast<DWORD>(std::min<size_t>(text.size() - at, 1u << 20));
    DWORD written = 0;
    if (!::WriteFile(to, text.data() + at, chunk, &written, nullptr) || written == 0)
      return ::GetLastError() ? ::GetLastError() : ERROR_WRITE_FAULT;
    at += written;
  }
  return ERROR_SUCCESS;
}

int Fail(DWORD code, const std::wstring& reason) {
  if (code == Worker::kStopped) return kExitStopped;
  // Standard error may be closed (the agent captures only standard output).
  WriteAll(::GetStdHandle(STD_ERROR_HANDLE),
           "MailServers.OnDemand.Agent: " + kel::Utf8FromWide(reason) + " (error " +
               std::to_string(code) + ")\n");
  return static_cast<int>(code);
}

int Run() {
  Worker::CommandLine command;
  std::wstring error;
  if (!Worker::ParseCommandLine(::GetCommandLineW(), command, error))
    return Fail(ERROR_INVALID_PARAMETER, error);

  // SYNCHRONIZE is all the event grants us: we wait on it, never signal it.
  kel::UniqueEvent stop;
  if (!command.stopEventName.empty()) {
    stop.reset(::OpenEventW(SYNCHRONIZE, FALSE, command.stopEventName.c_str()));
    if (!stop) {
      const DWORD code = ::GetLastError();
      return Fail(code, L"cannot open the stop event " + command.stopEventName);
    }
  }

  Worker::DirectorySettings settings;
  if (!Worker::ReadDirectorySettings(Worker::SystemSettings(), settings, error))
    return Fail(ERROR_BAD_CONFIGURATION, error);

  const Worker::DirectoryWait wait(stop.get(), settings.timeoutSeconds);
  Worker::DirectoryConnection directory;
  DWORD code = directory.Open(settings, wait, error);
  if (code != ERROR_SUCCESS) return Fail(code, error);

  Worker::OrganisationEntry organisation;
  code = Worker::FindOrganisation(directory.get(), directory.root(), wait, organisation, error);
  if (code != ERROR_SUCCESS) return Fail(code, error);

  std::string document;
  if (command.listing == Worker::Listing::kStructure) {
    Worker::Organisation structure;
    code = Worker::ReadStructure(directory.get(), directory.root(), organisation, settings.pageSize,
                                 wait, structure, error);
    if (code != ERROR_SUCCESS) return Fail(code, error);
    document = Worker::StructureDocument(structure);
  } else {
    Worker::Configuration configuration;
    code = Worker::ReadConfiguration(directory.get(), directory.root(), organisation,
                                     settings.pageSize, wait, configuration, error);
    if (code != ERROR_SUCCESS) return Fail(code, error);
    document = Worker::ConfigurationDocument(configuration);
  }
  if (wait.Stopped()) return kExitStopped;
  code = WriteAll(::GetStdHandle(STD_OUTPUT_HANDLE), document);
  if (code != ERROR_SUCCESS) return Fail(code, L"cannot write the document");
  return 0;
}

}  // namespace

int main() {
  try {
    return Run();
  } catch (const std::bad_alloc&) {
    return Fail(ERROR_NOT_ENOUGH_MEMORY, L"out of memory");
  } catch (...) {
    return Fail(ERROR_INTERNAL_ERROR, L"unexpected failure");
  }
}
