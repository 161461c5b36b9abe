#include "sysinfo/worker/command_line.h"

#include <cwctype>
#include <iterator>

#include "frame/owners.h"
#include "frame/win.h"
#include <shellapi.h>

namespace Worker {
namespace {

constexpr wchar_t kStopEventKey[] = L"stopEventName=";

bool EqualsIgnoringCase(const std::wstring& a, const wchar_t* b) {
  size_t i = 0;
  for (; i < a.size() && b[i]; ++i)
    if (std::towlower(a[i]) != std::towlower(b[i])) return false;
  return i == a.size() && !b[i];
}

}  // namespace

bool ParseCommandLine(const wchar_t* line, CommandLine& out, std::wstring& error) {
  int count = 0;
  // The system's own splitting: it takes the quotes off "PATH" and off
  // stopEventName="NAME" exactly as the C run time would.
  kel::UniqueLocal arguments(::CommandLineToArgvW(line, &count));
  if (!arguments) {
    error = L"the command line cannot be read";
    return false;
  }
  const auto* argv = static_cast<wchar_t**>(arguments.get());
  CommandLine parsed;
  bool haveListing = false;
  bool haveStopEvent = false;
  for (int i = 1; i < count; ++i) {
    const std::wstring argument = argv[i];
    if (EqualsIgnoringCase(argument, L"/listmb") || EqualsIgnoringCase(argument, L"/orgConfig")) {
      if (haveListing) {
        error = L"more than one switch: " + argument;
        return false;
      }
      haveListing = true;
      parsed.listing = EqualsIgnoringCase(argument, L"/listmb") ? Listing::kStructure
                                                                 : Listing::kConfiguration;
    } else if (argument.compare(0, std::size(kStopEventKey) - 1, kStopEventKey) == 0) {
      if (haveStopEvent) {
        error = L"stopEventName given twice";
        return false;
      }
      haveStopEvent = true;
      parsed.stopEventName = argument.substr(std::size(kStopEventKey) - 1);
      if (parsed.stopEventName.empty()) {
        error = L"stopEventName is empty";
        return false;
      }
    } else {
      error = L"unknown argument: " + argument;
      return false;
    }
  }
  if (!haveListing) {
    error = L"usage: MailServers.OnDemand.Agent.exe /listmb|/orgConfig [stopEventName=\"NAME\"]";
    return false;
  }
  out = std::move(parsed);
  return true;
}

}  // namespace Worker
