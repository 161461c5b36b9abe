#pragma once
// Reads back what the recording log.dll (host/logsink) received. A probe holds
// its own reference on the library, so the records outlive the binding's
// teardown; when the last reference goes, the library and its records go too.
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "frame/owners.h"
#include "frame/proc_address.h"
#include "frame/win.h"
#include "host/logsink/log_sink.h"

struct RecordedLine {
  uint32_t level;
  uint16_t depth_change;
  std::wstring function;
  std::wstring message;

  friend bool operator==(const RecordedLine& a, const RecordedLine& b) {
    return a.level == b.level && a.depth_change == b.depth_change && a.function == b.function &&
           a.message == b.message;
  }
  friend void PrintTo(const RecordedLine& line, std::ostream* out) {
    *out << "{" << line.level << ", " << line.depth_change << ", "
         << ::testing::PrintToString(line.function) << ", "
         << ::testing::PrintToString(line.message) << "}";
  }
};

inline std::wstring ModulePath(HMODULE module) {
  std::vector<wchar_t> path(32767);
  const DWORD length = ::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
  return std::wstring(path.data(), length);
}

// The test program's folder, with its trailing backslash.
inline std::wstring ProgramFolder() {
  const std::wstring path = ModulePath(nullptr);
  return path.substr(0, path.find_last_of(L'\\') + 1);
}

class SinkProbe {
 public:
  // Takes a reference on the log.dll already loaded in the process, if any.
  SinkProbe() {
    HMODULE loaded = nullptr;
    if (::GetModuleHandleExW(0, L"log.dll", &loaded)) module_.reset(loaded);
  }
  // Loads the library file at `path`.
  explicit SinkProbe(const std::wstring& path) : module_(::LoadLibraryW(path.c_str())) {}

  HMODULE module() const { return module_.get(); }
  void Release() { module_.reset(); }

  std::vector<RecordedLine> DrainLines() const {
    std::vector<RecordedLine> lines;
    if (auto drain = Lookup<LogSinkDrainLinesFn>("LogSinkDrainLines")) {
      drain(
          [](void* context, uint32_t level, uint16_t depth_change, const wchar_t* function,
             const wchar_t* message) {
            static_cast<std::vector<RecordedLine>*>(context)->push_back(
                {level, depth_change, function, message});
          },
          &lines);
    }
    return lines;
  }

  std::vector<std::string> DrainCalls() const {
    std::vector<std::string> calls;
    if (auto drain = Lookup<LogSinkDrainCallsFn>("LogSinkDrainCalls")) {
      drain(
          [](void* context, const char* call) {
            static_cast<std::vector<std::string>*>(context)->push_back(call);
          },
          &calls);
    }
    return calls;
  }

 private:
  template <class Fn>
  Fn Lookup(const char* name) const {
    return kel::ProcAddress<Fn>(module_.get(), name);
  }

  kel::UniqueModule module_;
};

// What dropping the last handle must tell the library, in this order.
inline const std::vector<std::string>& TeardownCalls() {
  static const std::vector<std::string> calls = {"LogDeinit", "LogUninitDeskMetrics",
                                                 "LogRemoveModule:logging::CLogDLL::~CLogDLL"};
  return calls;
}
