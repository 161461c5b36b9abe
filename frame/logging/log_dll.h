#pragma once
// Run-time binding to the product's logging library "log.dll". The library is
// never linked: a missing library or entry point must cost nothing but the
// diagnostics, so every entry point is looked up and may stay null.
#include <cstdarg>
#include <cstdint>

#include "frame/owners.h"
#include "frame/win.h"

namespace logging {

// Prototypes of the library's entry points. Only LogInit, LogWrite and the
// teardown calls are ever called by this module; the others are looked up so
// that the binding mirrors the library, and their prototypes are our own.
using LogInitFn = void (*)();
using LogDeinitFn = void (*)();
using LogApplySettingsFn = void (*)();
using LogSetSettingsFileFn = void (*)(const wchar_t* path);
using LogEnableFn = void (*)(BOOL enable);
using LogSetLevelFn = void (*)(uint32_t level);
using LogSetPathFn = void (*)(const wchar_t* path);
using LogSetTypeFn = void (*)(uint32_t type);
using LogSetModeFn = void (*)(uint32_t mode);
using LogSetMaxSizeFn = void (*)(uint32_t max_size);
using LogSetDepthFn = void (*)(uint32_t depth);
// depthChange: 1 on entering a traced scope, 0xFFFF (-1) on leaving it, 0
// otherwise. `format` is a wide printf format in which %s means a wide string
// (the Microsoft convention); the library formats it with `args`.
using LogWriteFn = void (*)(uint16_t depthChange, const uint32_t* level, HMODULE module,
                            const wchar_t* function, const wchar_t* format, va_list args);
using LogIsEnabledFn = BOOL (*)();
using LogMonitorSettingsFn = void (*)();
using LogUninitDeskMetricsFn = void (*)();
using LogTrackEventFn = void (*)(const wchar_t* event);
using LogTrackEventDataFn = void (*)(const wchar_t* event, const wchar_t* data);
using LogRemoveModuleFn = void (*)(const char* module);
using LogGetLevelFn = uint32_t (*)();

// The module that contains this code: the agent DLL in production, the test
// program in tests. Holds no reference.
HMODULE ThisModule() noexcept;

class CLogDLL {
 public:
  // Binds the library already loaded in the process, or the one beside this
  // module; binds nothing when neither exists.
  CLogDLL() noexcept;
  // Tells a bound library that this module leaves, then drops the reference.
  ~CLogDLL();

  CLogDLL(const CLogDLL&) = delete;
  CLogDLL& operator=(const CLogDLL&) = delete;

  HMODULE module() const noexcept { return module_.get(); }

  // Never null: without a library, or without "LogWrite", writes go nowhere.
  void Write(uint16_t depthChange, const uint32_t* level, HMODULE self, const wchar_t* function,
             const wchar_t* format, va_list args) const noexcept {
    write_(depthChange, level, self, function, format, args);
  }

 private:
  void Bind() noexcept;

  kel::UniqueModule module_;
  LogApplySettingsFn apply_settings_ = nullptr;
  LogSetSettingsFileFn set_settings_file_ = nullptr;
  LogEnableFn enable_ = nullptr;
  LogSetLevelFn set_level_ = nullptr;
  LogSetPathFn set_path_ = nullptr;
  LogSetTypeFn set_type_ = nullptr;
  LogSetModeFn set_mode_ = nullptr;
  LogSetMaxSizeFn set_max_size_ = nullptr;
  LogSetDepthFn set_depth_ = nullptr;
  LogWriteFn write_ = nullptr;
  LogIsEnabledFn is_enabled_ = nullptr;
  LogMonitorSettingsFn monitor_settings_ = nullptr;
  LogUninitDeskMetricsFn uninit_desk_metrics_ = nullptr;
  LogTrackEventFn track_event_ = nullptr;
  LogTrackEventDataFn track_event_data_ = nullptr;
  LogRemoveModuleFn remove_module_ = nullptr;
  LogGetLevelFn get_level_ = nullptr;
};

}  // namespace logging
