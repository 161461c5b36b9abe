// kelhost: a simulated service host. Loads an agent module DLL as the real host
// does and drives it from JSON-lines scripts; see runner.h and session.h.
//
//   kelhost [--module PATH] [--log FILE] [SCRIPT ...]
//
// Exit codes: 0 when every line held, 1 when any line failed, 2 when the run
// could not start (bad arguments, a module that does not load, a script that
// cannot be opened, a log file that cannot be kept).
#include <fcntl.h>
#include <io.h>
#include <stdio.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "frame/win.h"

#include <shellapi.h>

#include "host/kelhost/component_manager.h"
#include "host/kelhost/manager.h"
#include "host/kelhost/module_host.h"
#include "host/kelhost/plugin_registry.h"
#include "host/kelhost/runner.h"
#include "host/kelhost/session.h"
#include "host/plugins/plugins.h"
#include "frame/text_convert.h"

namespace {

constexpr int kAllHeld = 0;
constexpr int kSomethingFailed = 1;
constexpr int kCannotStart = 2;

constexpr char kUsage[] = "usage: kelhost [--module PATH] [--log FILE] [SCRIPT ...]\n";

struct Arguments {
  std::wstring module;
  std::wstring logFile;
  std::vector<std::wstring> scripts;
};

std::vector<std::wstring> CommandLine() {
  std::vector<std::wstring> words;
  int count = 0;
  wchar_t** argv = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  if (argv == nullptr) return words;
  for (int i = 1; i < count; ++i) words.emplace_back(argv[i]);
  ::LocalFree(argv);
  return words;
}

std::wstring DefaultModule() {
  std::vector<wchar_t> path(32768);
  const DWORD length = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  const std::wstring self(path.data(), length);
  return self.substr(0, self.find_last_of(L"\\/") + 1) + L"kelagents.dll";
}

bool Parse(const std::vector<std::wstring>& words, Arguments& args, std::string& problem) {
  for (size_t i = 0; i < words.size(); ++i) {
    const std::wstring& word = words[i];
    if (word == L"--module" || word == L"--log") {
      if (i + 1 == words.size()) {
        problem = kel::Utf8FromWide(word) + " needs a value";
        return false;
      }
      (word == L"--module" ? args.module : args.logFile) = words[++i];
    } else if (word.size() > 1 && word[0] == L'-' && word[1] == L'-') {
      problem = "unknown option " + kel::Utf8FromWide(word);
      return false;
    } else {
      args.scripts.push_back(word);
    }
  }
  if (args.module.empty()) args.module = DefaultModule();
  return true;
}

int Run(const Arguments& args) {
  // Opened up front: a missing script is a broken command line, not a failed line.
  std::vector<std::unique_ptr<std::ifstream>> scripts;
  for (const std::wstring& script : args.scripts) {
    scripts.push_back(std::make_unique<std::ifstream>(std::filesystem::path(script)));
    if (!*scripts.back()) {
      std::cerr << "kelhost: cannot open " << kel::Utf8FromWide(script) << "\n";
      return kCannotStart;
    }
  }

  // Declared before the module, so the module goes first and never outlives
  // the host objects its agents may still point to.
  kelhost::PluginRegistry plugins(kelhost::MakeReferencePlugins());
  kelhost::Manager manager;
  kelhost::ComponentManager components(manager, plugins);
  kelhost::ServMain servMain(&components);

  kelhost::ModuleHost module;
  std::string problem;
  if (!module.Load(args.module, problem)) {
    std::cerr << "kelhost: " << problem << "\n";
    return kCannotStart;
  }
  if (!args.logFile.empty() &&
      (module.setOutputFile() == nullptr || !module.setOutputFile()(args.logFile.c_str()))) {
    std::cerr << "kelhost: cannot log to " << kel::Utf8FromWide(args.logFile)
              << " (no recording log.dll beside the module, or the file cannot be kept)\n";
    return kCannotStart;
  }

  kelhost::Session session(kelhost::HostParts{&manager, &components, &servMain, &plugins,
                                              module.create(), module.destroy(),
                                              module.drainLines(), module.describe()});
  kelhost::Runner runner(session, std::cout, std::cerr);
  if (scripts.empty()) {
    runner.Run(std::cin, "stdin");
  } else {
    for (size_t i = 0; i < scripts.size(); ++i) {
      runner.Run(*scripts[i], kel::Utf8FromWide(args.scripts[i]));
    }
  }
  session.Shutdown();
  return runner.AllHeld() ? kAllHeld : kSomethingFailed;
}

}  // namespace

int main() {
  try {
    // Replies end in LF alone, whichever system reads them.
    _setmode(_fileno(stdout), _O_BINARY);
    Arguments args;
    std::string problem;
    if (!Parse(CommandLine(), args, problem)) {
      std::cerr << "kelhost: " << problem << "\n" << kUsage;
      return kCannotStart;
    }
    return Run(args);
  } catch (const std::exception& e) {
    std::cerr << "kelhost: " << e.what() << "\n";
  } catch (...) {
    std::cerr << "kelhost: unexpected failure\n";
  }
  return kCannotStart;
}
