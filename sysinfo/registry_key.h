#pragma once
// One open registry key, read-only, optionally inside a registry transaction.
#include "frame/owners.h"
#include "frame/win.h"

namespace SystemInfo {

// A registry transaction a key may be opened in. Without a handle, a key is
// opened plainly only when `allowPlainOpen` says so.
struct RegistryTransaction {
  HANDLE handle = nullptr;  // not owned
  bool allowPlainOpen = false;
};

using RegOpenKeyTransactedFn = LSTATUS(WINAPI*)(HKEY parent, const wchar_t* subkey, DWORD options,
                                                REGSAM access, HKEY* result, HANDLE transaction,
                                                void* reserved);

// Where the transacted open comes from: advapi32, if the process already has
// it loaded and it exports the function (older systems, and Wine, do not).
RegOpenKeyTransactedFn FindRegOpenKeyTransacted() noexcept;

class RegistryKey {
 public:
  using Lookup = RegOpenKeyTransactedFn (*)() noexcept;

  RegistryKey() noexcept = default;
  // `transaction` must outlive the key; `lookup` is a seam for tests.
  explicit RegistryKey(const RegistryTransaction* transaction,
                       Lookup lookup = &FindRegOpenKeyTransacted) noexcept
      : transaction_(transaction), lookup_(lookup) {}

  // Opens `subkey` of `parent` with KEY_READ. On success the key held so far
  // is closed and replaced; on failure it stays as it was. Answers the
  // registry's code, or 1 (ERROR_INVALID_FUNCTION) when a transaction is
  // attached but cannot be used: the transacted open is missing, or there is
  // no transaction handle and the plain open is not allowed.
  DWORD Open(HKEY parent, const wchar_t* subkey) noexcept;

  HKEY get() const noexcept { return key_.get(); }
  explicit operator bool() const noexcept { return static_cast<bool>(key_); }
  void Close() noexcept { key_.reset(); }

 private:
  kel::UniqueHkey key_;
  const RegistryTransaction* transaction_ = nullptr;
  Lookup lookup_ = &FindRegOpenKeyTransacted;
};

}  // namespace SystemInfo
