#include "frame/logging/log_dll.h"

#include <cstddef>
#include <memory>
#include <new>

namespace logging {
namespace {

// Longest path GetModuleFileNameW can return.
constexpr DWORD kMaxModulePath = 32767;

template <class Fn>
Fn Lookup(HMODULE module, const char* name) noexcept {
  // Through void (*)() because GetProcAddress's own pointer type is unrelated
  // to the entry point's and compilers warn about a direct cast.
  return reinterpret_cast<Fn>(reinterpret_cast<void (*)()>(::GetProcAddress(module, name)));
}

void WriteNothing(uint16_t, const uint32_t*, HMODULE, const wchar_t*, const wchar_t*, va_list) {}

// The library that lies in this module's own folder, loaded; null if there is
// none (or this module's path cannot be told).
HMODULE LoadBesideThisModule() noexcept {
  HMODULE self = ThisModule();
  if (self == nullptr) return nullptr;
  // Room for the folder, "log.dll" and the terminator.
  static constexpr wchar_t kFileName[] = L"log.dll";
  constexpr size_t kFileNameLength = sizeof(kFileName) / sizeof(kFileName[0]) - 1;
  std::unique_ptr<wchar_t[]> path(new (std::nothrow) wchar_t[kMaxModulePath + kFileNameLength]);
  if (!path) return nullptr;
  const DWORD length = ::GetModuleFileNameW(self, path.get(), kMaxModulePath);
  if (length == 0 || length >= kMaxModulePath) return nullptr;  // failed or truncated

  size_t folder = length;  // length of the folder including its last backslash
  while (folder > 0 && path[folder - 1] != L'\\') --folder;
  // A bare file name would make LoadLibraryW search the path and load some other
  // library of that name.
  if (folder == 0) return nullptr;
  for (size_t i = 0; i <= kFileNameLength; ++i) path[folder + i] = kFileName[i];
  return ::LoadLibraryW(path.get());
}

}  // namespace

HMODULE ThisModule() noexcept {
  static const HMODULE self = [] {
    HMODULE module = nullptr;
    if (!::GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            reinterpret_cast<LPCWSTR>(&ThisModule), &module)) {
      module = nullptr;
    }
    return module;
  }();
  return self;
}

CLogDLL::CLogDLL() noexcept {
  HMODULE loaded = nullptr;
  // The host may have loaded the library already, from wherever it chose; that
  // one wins over a copy beside this module.
  if (!::GetModuleHandleExW(0, L"log.dll", &loaded)) loaded = nullptr;
  if (loaded == nullptr) loaded = LoadBesideThisModule();
  module_.reset(loaded);
  if (module_) Bind();
  if (write_ == nullptr) write_ = &WriteNothing;
}

void CLogDLL::Bind() noexcept {
  HMODULE module = module_.get();
  if (auto init = Lookup<LogInitFn>(module, "LogInit")) init();
  apply_settings_ = Lookup<LogApplySettingsFn>(module, "LogApplySettings");
  set_settings_file_ = Lookup<LogSetSettingsFileFn>(module, "LogSetSettingsFile");
  enable_ = Lookup<LogEnableFn>(module, "LogEnable");
  set_level_ = Lookup<LogSetLevelFn>(module, "LogSetLevel");
  set_path_ = Lookup<LogSetPathFn>(module, "LogSetPath");
  set_type_ = Lookup<LogSetTypeFn>(module, "LogSetType");
  set_mode_ = Lookup<LogSetModeFn>(module, "LogSetMode");
  set_max_size_ = Lookup<LogSetMaxSizeFn>(module, "LogSetMaxSize");
  set_depth_ = Lookup<LogSetDepthFn>(module, "LogSetDepth");
  write_ = Lookup<LogWriteFn>(module, "LogWrite");
  is_enabled_ = Lookup<LogIsEnabledFn>(module, "LogIsEnabled");
  monitor_settings_ = Lookup<LogMonitorSettingsFn>(module, "LogMonitorSettings");
  get_level_ = Lookup<LogGetLevelFn>(module, "LogGetLevel");
  uninit_desk_metrics_ = Lookup<LogUninitDeskMetricsFn>(module, "LogUninitDeskMetrics");
  track_event_ = Lookup<LogTrackEventFn>(module, "LogTrackEvent");
  track_event_data_ = Lookup<LogTrackEventDataFn>(module, "LogTrackEventData");
  remove_module_ = Lookup<LogRemoveModuleFn>(module, "LogRemoveModule");
}

CLogDLL::~CLogDLL() {
  if (!module_) return;
  if (auto deinit = Lookup<LogDeinitFn>(module_.get(), "LogDeinit")) deinit();
  if (uninit_desk_metrics_ != nullptr) uninit_desk_metrics_();
  if (remove_module_ != nullptr) remove_module_("logging::CLogDLL::~CLogDLL");
  module_.reset();
}

}  // namespace logging
