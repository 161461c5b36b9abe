#include "frame/logging/log_dll.h"

#include <cstddef>
#include <memory>
#include <new>

#include "frame/proc_address.h"
#include "frame/win32_error.h"

namespace logging {
namespace {

// Longest path GetModuleFileNameW can return.
constexpr DWORD kMaxModulePath = 32767;

void WriteNothing(uint16_t, const uint32_t*, HMODULE, const wchar_t*, const wchar_t*, va_list) {}

// Loads the library that lies in this module's own folder into `library`.
DWORD LoadBesideThisModule(kel::UniqueModule& library) noexcept {
  const HMODULE self = ThisModule();
  if (self == nullptr) return ERROR_MOD_NOT_FOUND;
  // Room for the folder, "log.dll" and the terminator.
  static constexpr wchar_t kFileName[] = L"log.dll";
  constexpr size_t kFileNameLength = sizeof(kFileName) / sizeof(kFileName[0]) - 1;
  std::unique_ptr<wchar_t[]> path(new (std::nothrow) wchar_t[kMaxModulePath + kFileNameLength]);
  if (!path) return ERROR_NOT_ENOUGH_MEMORY;
  const DWORD length = ::GetModuleFileNameW(self, path.get(), kMaxModulePath);
  KEL_RETURN_LAST_ERROR_IF(length == 0);
  if (length >= kMaxModulePath) return ERROR_INSUFFICIENT_BUFFER;  // truncated

  size_t folder = length;  // length of the folder including its last backslash
  while (folder > 0 && path[folder - 1] != L'\\') --folder;
  // A bare file name would make LoadLibraryW search the path and load some other
  // library of that name.
  if (folder == 0) return ERROR_BAD_PATHNAME;
  for (size_t i = 0; i <= kFileNameLength; ++i) path[folder + i] = kFileName[i];
  library.reset(::LoadLibraryW(path.get()));
  KEL_RETURN_LAST_ERROR_IF_NULL(library);
  return ERROR_SUCCESS;
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
  // The host may have loaded the library already, from wherever it chose; that
  // one wins over a copy beside this module. Neither is required, so why the
  // library is missing is of no consequence.
  if (!::GetModuleHandleExW(0, L"log.dll", module_.put())) {
    static_cast<void>(LoadBesideThisModule(module_));
  }
  if (module_) Bind();
  if (write_ == nullptr) write_ = &WriteNothing;
}

void CLogDLL::Bind() noexcept {
  HMODULE module = module_.get();
  if (auto init = kel::ProcAddress<LogInitFn>(module, "LogInit")) init();
  apply_settings_ = kel::ProcAddress<LogApplySettingsFn>(module, "LogApplySettings");
  set_settings_file_ = kel::ProcAddress<LogSetSettingsFileFn>(module, "LogSetSettingsFile");
  enable_ = kel::ProcAddress<LogEnableFn>(module, "LogEnable");
  set_level_ = kel::ProcAddress<LogSetLevelFn>(module, "LogSetLevel");
  set_path_ = kel::ProcAddress<LogSetPathFn>(module, "LogSetPath");
  set_type_ = kel::ProcAddress<LogSetTypeFn>(module, "LogSetType");
  set_mode_ = kel::ProcAddress<LogSetModeFn>(module, "LogSetMode");
  set_max_size_ = kel::ProcAddress<LogSetMaxSizeFn>(module, "LogSetMaxSize");
  set_depth_ = kel::ProcAddress<LogSetDepthFn>(module, "LogSetDepth");
  write_ = kel::ProcAddress<LogWriteFn>(module, "LogWrite");
  is_enabled_ = kel::ProcAddress<LogIsEnabledFn>(module, "LogIsEnabled");
  monitor_settings_ = kel::ProcAddress<LogMonitorSettingsFn>(module, "LogMonitorSettings");
  get_level_ = kel::ProcAddress<LogGetLevelFn>(module, "LogGetLevel");
  uninit_desk_metrics_ = kel::ProcAddress<LogUninitDeskMetricsFn>(module, "LogUninitDeskMetrics");
  track_event_ = kel::ProcAddress<LogTrackEventFn>(module, "LogTrackEvent");
  track_event_data_ = kel::ProcAddress<LogTrackEventDataFn>(module, "LogTrackEventData");
  remove_module_ = kel::ProcAddress<LogRemoveModuleFn>(module, "LogRemoveModule");
}

CLogDLL::~CLogDLL() {
  if (!module_) return;
  if (auto deinit = kel::ProcAddress<LogDeinitFn>(module_.get(), "LogDeinit")) deinit();
  if (uninit_desk_metrics_ != nullptr) uninit_desk_metrics_();
  if (remove_module_ != nullptr) remove_module_("logging::CLogDLL::~CLogDLL");
  module_.reset();
}

}  // namespace logging
