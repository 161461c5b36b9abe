#pragma once
// HKEY_LOCAL_MACHINE of the kelhost process redirected to a scratch key, so
// that scripts can lay out the machine registry an agent reads without
// touching the real one. Everything is removed when the object goes.
#include <string>

#include "frame/owners.h"
#include "frame/win.h"

namespace kelhost {

class ScratchRegistry {
 public:
  ScratchRegistry() = default;
  ~ScratchRegistry();
  ScratchRegistry(const ScratchRegistry&) = delete;
  ScratchRegistry& operator=(const ScratchRegistry&) = delete;

  // Redirects HKEY_LOCAL_MACHINE for the whole process to a fresh, empty
  // key under HKEY_CURRENT_USER. Again: starts from an empty key anew.
  DWORD Override() noexcept;
  bool active() const noexcept { return static_cast<bool>(root_); }

  // Below the redirected root (only while active).
  DWORD CreateKey(const std::wstring& path, kel::UniqueHkey& key) noexcept;
  DWORD DeleteKey(const std::wstring& path) noexcept;

 private:
  void Restore() noexcept;

  kel::UniqueHkey root_;
  std::wstring rootPath_;  // under HKEY_CURRENT_USER
};

}  // namespace kelhost
