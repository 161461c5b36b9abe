#include "host/logsink/log_sink.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "frame/logging/log_dll.h"
#include "frame/owners.h"
#include "frame/win32_error.h"

#define LOG_EXPORT extern "C" __declspec(dllexport)

namespace {

struct Line {
  uint32_t level;
  uint16_t depth_change;
  std::wstring function;
  std::wstring message;
};

std::mutex g_lock;
std::vector<Line> g_lines;
std::vector<std::string> g_calls;
std::wstring g_output_path;
std::atomic<uint32_t> g_level{0xFFFFFFFF};
std::atomic<BOOL> g_enabled{TRUE};

std::string Utf8(const std::wstring& text) {
  if (text.empty()) return std::string();
  const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                         nullptr, 0, nullptr, nullptr);
  if (size <= 0) return std::string();
  std::string result(static_cast<size_t>(size), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), &result[0], size,
                        nullptr, nullptr);
  return result;
}

// Call arguments as recorded.
std::string Text(const wchar_t* text) { return text != nullptr ? Utf8(std::wstring(text)) : ""; }
std::string Text(const char* text) { return text != nullptr ? text : ""; }
std::string Text(uint32_t value) { return std::to_string(value); }

#if !defined(LOG_SINK_WITHOUT_WRITE)
// The CRT's _vsnwprintf, not vswprintf: the module's formats use the Microsoft
// meaning of %s (a wide string), which mingw's C99 vswprintf does not share.
std::wstring Format(const wchar_t* format, va_list args) {
  constexpr size_t kMaxMessage = size_t{1} << 16;
  std::vector<wchar_t> buffer(512);
  for (;;) {
    va_list copy;
    va_copy(copy, args);
    const int length = _vsnwprintf(buffer.data(), buffer.size(), format, copy);
    va_end(copy);
    if (length >= 0 && static_cast<size_t>(length) < buffer.size()) {
      return std::wstring(buffer.data(), static_cast<size_t>(length));
    }
    if (buffer.size() >= kMaxMessage) {
      return std::wstring(buffer.data(), buffer.size() - 1);  // cut, not lost
    }
    buffer.resize(buffer.size() * 2);
  }
}

// Caller holds g_lock. The line stays recorded in memory whatever this answers.
DWORD AppendToOutputFile(const Line& line) {
  if (g_output_path.empty()) return ERROR_SUCCESS;
  const std::string text =
      std::to_string(line.level) + "\t" + Utf8(line.function) + "\t" + Utf8(line.message) + "\r\n";
  const kel::UniqueFile file(::CreateFileW(g_output_path.c_str(), FILE_APPEND_DATA,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                           FILE_ATTRIBUTE_NORMAL, nullptr));
  KEL_RETURN_LAST_ERROR_IF(!file);
  DWORD written = 0;
  KEL_RETURN_IF_WIN32_BOOL_FALSE(
      ::WriteFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
  return ERROR_SUCCESS;
}
#endif

// Records one call to an entry point, its arguments, if any, after colons.
// Never throws: a record lost to memory exhaustion must not take the caller down.
template <class... Arguments>
void RecordCall(const char* name, const Arguments&... arguments) noexcept {
  try {
    std::string call = name;
    ((call += ":", call += Text(arguments)), ...);
    std::lock_guard<std::mutex> guard(g_lock);
    g_calls.push_back(std::move(call));
  } catch (...) {
  }
}

}  // namespace

LOG_EXPORT void LogInit() { RecordCall("LogInit"); }

LOG_EXPORT void LogDeinit() { RecordCall("LogDeinit"); }

LOG_EXPORT void LogApplySettings() { RecordCall("LogApplySettings"); }

LOG_EXPORT void LogSetSettingsFile(const wchar_t* path) { RecordCall("LogSetSettingsFile", path); }

LOG_EXPORT void LogEnable(BOOL enable) {
  g_enabled.store(enable);
  RecordCall("LogEnable", static_cast<uint32_t>(enable));
}

LOG_EXPORT void LogSetLevel(uint32_t level) {
  g_level.store(level);
  RecordCall("LogSetLevel", level);
}

LOG_EXPORT void LogSetPath(const wchar_t* path) { RecordCall("LogSetPath", path); }

LOG_EXPORT void LogSetType(uint32_t type) { RecordCall("LogSetType", type); }

LOG_EXPORT void LogSetMode(uint32_t mode) { RecordCall("LogSetMode", mode); }

LOG_EXPORT void LogSetMaxSize(uint32_t max_size) { RecordCall("LogSetMaxSize", max_size); }

LOG_EXPORT void LogSetDepth(uint32_t depth) { RecordCall("LogSetDepth", depth); }

#if !defined(LOG_SINK_WITHOUT_WRITE)
LOG_EXPORT void LogWrite(uint16_t depthChange, const uint32_t* level, HMODULE /*module*/,
                         const wchar_t* function, const wchar_t* format, va_list args) {
  try {
    Line line{level != nullptr ? *level : 0, depthChange, function != nullptr ? function : L"",
              format != nullptr ? Format(format, args) : std::wstring()};
    std::lock_guard<std::mutex> guard(g_lock);
    static_cast<void>(AppendToOutputFile(line));
    g_lines.push_back(std::move(line));
  } catch (...) {
  }
}
// Compiles only while the definition has the module's prototype.
[[maybe_unused]] constexpr logging::LogWriteFn kWriteChecked = &LogWrite;
#endif

LOG_EXPORT BOOL LogIsEnabled() {
  RecordCall("LogIsEnabled");
  return g_enabled.load();
}

LOG_EXPORT void LogMonitorSettings() { RecordCall("LogMonitorSettings"); }

LOG_EXPORT void LogUninitDeskMetrics() { RecordCall("LogUninitDeskMetrics"); }

LOG_EXPORT void LogTrackEvent(const wchar_t* event) { RecordCall("LogTrackEvent", event); }

LOG_EXPORT void LogTrackEventData(const wchar_t* event, const wchar_t* data) {
  RecordCall("LogTrackEventData", event, data);
}

LOG_EXPORT void LogRemoveModule(const char* module) { RecordCall("LogRemoveModule", module); }

LOG_EXPORT uint32_t LogGetLevel() {
  RecordCall("LogGetLevel");
  return g_level.load();
}

// The module's prototypes and these definitions must not drift apart: each
// line compiles only while the two agree.
[[maybe_unused]] constexpr logging::LogInitFn kInitChecked = &LogInit;
[[maybe_unused]] constexpr logging::LogDeinitFn kDeinitChecked = &LogDeinit;
[[maybe_unused]] constexpr logging::LogApplySettingsFn kApplySettingsChecked = &LogApplySettings;
[[maybe_unused]] constexpr logging::LogSetSettingsFileFn kSetSettingsFileChecked =
    &LogSetSettingsFile;
[[maybe_unused]] constexpr logging::LogEnableFn kEnableChecked = &LogEnable;
[[maybe_unused]] constexpr logging::LogSetLevelFn kSetLevelChecked = &LogSetLevel;
[[maybe_unused]] constexpr logging::LogSetPathFn kSetPathChecked = &LogSetPath;
[[maybe_unused]] constexpr logging::LogSetTypeFn kSetTypeChecked = &LogSetType;
[[maybe_unused]] constexpr logging::LogSetModeFn kSetModeChecked = &LogSetMode;
[[maybe_unused]] constexpr logging::LogSetMaxSizeFn kSetMaxSizeChecked = &LogSetMaxSize;
[[maybe_unused]] constexpr logging::LogSetDepthFn kSetDepthChecked = &LogSetDepth;
[[maybe_unused]] constexpr logging::LogIsEnabledFn kIsEnabledChecked = &LogIsEnabled;
[[maybe_unused]] constexpr logging::LogMonitorSettingsFn kMonitorSettingsChecked =
    &LogMonitorSettings;
[[maybe_unused]] constexpr logging::LogUninitDeskMetricsFn kUninitDeskMetricsChecked =
    &LogUninitDeskMetrics;
[[maybe_unused]] constexpr logging::LogTrackEventFn kTrackEventChecked = &LogTrackEvent;
[[maybe_unused]] constexpr logging::LogTrackEventDataFn kTrackEventDataChecked = &LogTrackEventData;
[[maybe_unused]] constexpr logging::LogRemoveModuleFn kRemoveModuleChecked = &LogRemoveModule;
[[maybe_unused]] constexpr logging::LogGetLevelFn kGetLevelChecked = &LogGetLevel;

uint32_t LogSinkDrainLines(LogSinkLineCallback callback, void* context) {
  std::vector<Line> lines;
  try {
    std::lock_guard<std::mutex> guard(g_lock);
    lines.swap(g_lines);
  } catch (...) {
    return 0;
  }
  if (callback != nullptr) {
    for (const Line& line : lines) {
      callback(context, line.level, line.depth_change, line.function.c_str(), line.message.c_str());
    }
  }
  return static_cast<uint32_t>(lines.size());
}

uint32_t LogSinkDrainCalls(LogSinkCallCallback callback, void* context) {
  std::vector<std::string> calls;
  try {
    std::lock_guard<std::mutex> guard(g_lock);
    calls.swap(g_calls);
  } catch (...) {
    return 0;
  }
  if (callback != nullptr) {
    for (const std::string& call : calls) callback(context, call.c_str());
  }
  return static_cast<uint32_t>(calls.size());
}

BOOL LogSinkSetOutputFile(const wchar_t* path) {
  try {
    std::wstring kept = path != nullptr ? path : L"";
    std::lock_guard<std::mutex> guard(g_lock);
    g_output_path.swap(kept);
    return TRUE;
  } catch (...) {
    return FALSE;
  }
}
