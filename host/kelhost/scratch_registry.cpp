#include "host/kelhost/scratch_registry.h"

#include "frame/win32_error.h"

namespace kelhost {

ScratchRegistry::~ScratchRegistry() { Restore(); }

void ScratchRegistry::Restore() noexcept {
  if (!root_) return;
  ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
  root_.reset();
  ::RegDeleteTreeW(HKEY_CURRENT_USER, rootPath_.c_str());
}

DWORD ScratchRegistry::Override() noexcept {
  try {
    Restore();
    // One per process and run: two kelhosts never share a scratch tree.
    rootPath_ = L"Software\\kelhost\\scratch-" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
                std::to_wstring(::GetTickCount64());
    kel::UniqueHkey root;
    KEL_RETURN_IF_WIN32_ERROR(::RegCreateKeyExW(HKEY_CURRENT_USER, rootPath_.c_str(), 0, nullptr,
                                                REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                                                root.put(), nullptr));
    KEL_RETURN_IF_WIN32_ERROR(::RegOverridePredefKey(HKEY_LOCAL_MACHINE, root.get()));
    root_ = std::move(root);
    return ERROR_SUCCESS;
  } catch (...) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
}

DWORD ScratchRegistry::CreateKey(const std::wstring& path, kel::UniqueHkey& key) noexcept {
  if (!root_) return ERROR_INVALID_STATE;
  return static_cast<DWORD>(::RegCreateKeyExW(root_.get(), path.c_str(), 0, nullptr,
                                              REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                                              key.put(), nullptr));
}

DWORD ScratchRegistry::DeleteKey(const std::wstring& path) noexcept {
  if (!root_) return ERROR_INVALID_STATE;
  // The key goes with its tree.
  return static_cast<DWORD>(::RegDeleteTreeW(root_.get(), path.c_str()));
}

}  // namespace kelhost
