#include "sysinfo/registry_key.h"

#include <utility>

#include "frame/proc_address.h"

namespace SystemInfo {

RegOpenKeyTransactedFn FindRegOpenKeyTransacted() noexcept {
  // Only a module already loaded: a key open must never load a library.
  return kel::ProcAddress<RegOpenKeyTransactedFn>(::GetModuleHandleW(L"Advapi32.dll"),
                                                  "RegOpenKeyTransactedW");
}

DWORD RegistryKey::Open(HKEY parent, const wchar_t* subkey) noexcept {
  kel::UniqueHkey opened;
  LSTATUS status = ERROR_INVALID_FUNCTION;
  if (transaction_ && transaction_->handle) {
    const RegOpenKeyTransactedFn open = lookup_ ? lookup_() : nullptr;
    if (!open) return ERROR_INVALID_FUNCTION;
    status = open(parent, subkey, 0, KEY_READ, opened.put(), transaction_->handle, nullptr);
  } else if (transaction_ && !transaction_->allowPlainOpen) {
    return ERROR_INVALID_FUNCTION;
  } else {
    status = ::RegOpenKeyExW(parent, subkey, 0, KEY_READ, opened.put());
  }
  if (status != ERROR_SUCCESS) return static_cast<DWORD>(status);
  key_ = std::move(opened);
  return ERROR_SUCCESS;
}

}  // namespace SystemInfo
