// A stand-in for the organisation worker, built under its name into a test
// folder beside a copy of the module. KEL_TEST_WORKER selects what it does:
//   (unset), structure  for "/orgConfig" a configuration that says what it
//                       could do with the stop event; otherwise like echo
//   echo                write KEL_TEST_WORKER_OUTPUT (as UTF-8), exit 0
//   exit1, exit5        exit with that code, writing nothing
//   hang                write half a document, wait for the stop event, exit 1
//   flood               write 100 MB or until the pipe fails, exit 0
//   probe               try to signal the event whose handle value is in
//                       KEL_TEST_WORKER_HANDLE, and say whether that worked
#include <cstdint>
#include <cstdlib>
#include <string>

#include "frame/owners.h"
#include "frame/text_convert.h"
#include "frame/win.h"

namespace {

std::wstring Environment(const wchar_t* name) {
  std::wstring value(32767, L'\0');
  value.resize(::GetEnvironmentVariableW(name, &value[0], 32767));
  return value;
}

bool Write(const std::string& text) {
  DWORD written = 0;
  return ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), text.data(),
                     static_cast<DWORD>(text.size()), &written, nullptr) &&
         written == text.size();
}

// The value of `key="..."` on the command line.
std::wstring Argument(const std::wstring& line, const std::wstring& key) {
  const size_t at = line.find(key + L"=\"");
  if (at == std::wstring::npos) return std::wstring();
  const size_t begin = at + key.size() + 2;
  return line.substr(begin, line.find(L'"', begin) - begin);
}

std::string Granted(HANDLE event) {
  if (event) return "granted";
  return "denied " + std::to_string(::GetLastError());
}

// The document the script gave, whatever it is.
int Echo() { return Write(kel::Utf8FromWide(Environment(L"KEL_TEST_WORKER_OUTPUT"))) ? 0 : 3; }

int Structure(const std::wstring& line) {
  if (line.find(L" /listmb ") != std::wstring::npos) return Echo();
  // The stop event is ours to wait on, not to signal.
  const std::wstring name = Argument(line, L"stopEventName");
  kel::UniqueEvent wait(::OpenEventW(SYNCHRONIZE, FALSE, name.c_str()));
  const std::string waitRight = Granted(wait.get());
  kel::UniqueEvent modify(::OpenEventW(EVENT_MODIFY_STATE, FALSE, name.c_str()));
  const std::string modifyRight = Granted(modify.get());
  const std::string xml =
      "<?xml version=\"1.0\"?>\n<configuration>\n"
      "  <organization value=\"Corp\"/>\n"
      "  <transport><maxMessageSize value=\"35MB\"/><maxRecipients value=\"500\"/></transport>\n"
      "  <worker><stopEventNameLength value=\"" +
      std::to_string(name.size()) + "\"/><stopEventWait value=\"" + waitRight +
      "\"/><stopEventSignal value=\"" + modifyRight + "\"/></worker>\n</configuration>\n";
  return Write(xml) ? 0 : 3;
}

int Hang(const std::wstring& line) {
  kel::UniqueEvent stop(::OpenEventW(SYNCHRONIZE, FALSE, Argument(line, L"stopEventName").c_str()));
  if (!stop) return 4;
  Write("<servers><server><name value=\"EX01\"/>");
  ::WaitForSingleObject(stop.get(), INFINITE);
  return 1;
}

int Flood() {
  const std::string block(64 * 1024, ' ');
  if (!Write("<servers>")) return 0;
  for (int i = 0; i < 1600; ++i)  // 100 MB
    if (!Write(block)) return 0;
  Write("</servers>");
  return 0;
}

int Probe() {
  const std::wstring text = Environment(L"KEL_TEST_WORKER_HANDLE");
  const HANDLE handle =
      reinterpret_cast<HANDLE>(static_cast<uintptr_t>(std::wcstoull(text.c_str(), nullptr, 10)));
  const char* result = !text.empty() && ::SetEvent(handle) ? "used" : "refused";
  return Write(std::string("<servers><server><name value=\"probe\"/><inheritedHandle value=\"") +
               result + "\"/></server></servers>")
             ? 0
             : 3;
}

}  // namespace

int main() {
  const std::wstring line = std::wstring(::GetCommandLineW()) + L" ";
  const std::wstring mode = Environment(L"KEL_TEST_WORKER");
  if (mode.empty() || mode == L"structure") return Structure(line);
  if (mode == L"exit1") return 1;
  if (mode == L"exit5") return 5;
  if (mode == L"hang") return Hang(line);
  if (mode == L"echo") return Echo();
  if (mode == L"flood") return Flood();
  if (mode == L"probe") return Probe();
  Write("unknown mode " + kel::Utf8FromWide(mode));
  return 2;
}
