#pragma once
// Which Exchange generation is installed on this machine, where, with which
// server roles, and where its pickup folder is: all read from the registry.
#include <cstdint>

#include "frame/string.h"
#include "frame/win.h"

namespace SystemInfo {

// Generation codes, one per registry branch.
inline constexpr uint32_t kExchange2013Code = 10213;  // ExchangeServer\v15
inline constexpr uint32_t kExchange2010Code = 10210;  // ExchangeServer\v14
inline constexpr uint32_t kExchange2007Code = 10207;  // Exchange\v8.0

struct ExchangeInstallInfo {
  uint32_t versionCode = 0;  // 0: no installation found
  uint32_t msiProductMajor = 0;
  uint32_t msiProductMinor = 0;
  uint32_t msiBuildMajor = 0;
  uint32_t msiBuildMinor = 0;
  bool edgeTransportRole = false;
  bool hubTransportRole = false;
  bool mailboxRole = false;
  bool clientAccessRole = false;
  kel::StringW installPath;
  kel::StringW pickupPath;
};

// Longest string value read, in characters; a longer one reads as absent.
inline constexpr DWORD kMaxRegistryText = 260;

// Reads HKEY_LOCAL_MACHINE. Never fails: whatever cannot be read stays at its
// zero value, and no installation gives the all-zero record.
ExchangeInstallInfo DetectExchange();

// The same below another root, for tests and tools that keep a scratch tree.
ExchangeInstallInfo DetectExchangeUnder(HKEY root);

}  // namespace SystemInfo
