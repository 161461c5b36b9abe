#include "sysinfo/exchange_detection.h"

#include <cwchar>

#include "sysinfo/registry_key.h"

namespace SystemInfo {
namespace {

struct Branch {
  const wchar_t* key;
  uint32_t versionCode;
};

// Newest first: a machine upgraded in place keeps the older branches.
constexpr Branch kBranches[] = {
    {L"SOFTWARE\\Microsoft\\ExchangeServer\\v15", kExchange2013Code},
    {L"SOFTWARE\\Microsoft\\ExchangeServer\\v14", kExchange2010Code},
    {L"SOFTWARE\\Microsoft\\Exchange\\v8.0", kExchange2007Code},
};

// A REG_SZ or REG_EXPAND_SZ of at most kMaxRegistryText characters, cut at its
// first zero. The buffer has one character more than the registry may fill,
// so a value stored without its terminator still ends.
bool ReadText(HKEY key, const wchar_t* name, kel::StringW& out) {
  wchar_t buffer[kMaxRegistryText + 1] = {};
  DWORD type = 0;
  DWORD bytes = kMaxRegistryText * sizeof(wchar_t);
  if (::RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &bytes) !=
      ERROR_SUCCESS)
    return false;
  if (type != REG_SZ && type != REG_EXPAND_SZ) return false;
  out.Assign(buffer, std::wcslen(buffer));
  return true;
}

bool ReadDword(HKEY key, const wchar_t* name, uint32_t& out) {
  DWORD value = 0;
  DWORD type = 0;
  DWORD bytes = sizeof(value);
  if (::RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&value), &bytes) !=
          ERROR_SUCCESS ||
      type != REG_DWORD || bytes != sizeof(value))
    return false;
  out = value;
  return true;
}

// The four numbers count only together: a version with one part missing
// would name a build that does not exist.
void ReadVersion(HKEY setup, ExchangeInstallInfo& info) {
  uint32_t parts[4] = {};
  if (ReadDword(setup, L"MsiProductMajor", parts[0]) &&
      ReadDword(setup, L"MsiProductMinor", parts[1]) &&
      ReadDword(setup, L"MsiBuildMajor", parts[2]) &&
      ReadDword(setup, L"MsiBuildMinor", parts[3])) {
    info.msiProductMajor = parts[0];
    info.msiProductMinor = parts[1];
    info.msiBuildMajor = parts[2];
    info.msiBuildMinor = parts[3];
  }
}

bool HasSubkey(HKEY parent, const wchar_t* name) {
  RegistryKey key;
  return key.Open(parent, name) == ERROR_SUCCESS;
}

}  // namespace

ExchangeInstallInfo DetectExchangeUnder(HKEY root) {
  ExchangeInstallInfo info;
  RegistryKey branch;
  RegistryKey setup;
  const Branch* found = nullptr;
  for (const Branch& candidate : kBranches) {
    if (branch.Open(root, candidate.key) == ERROR_SUCCESS &&
        setup.Open(branch.get(), L"Setup") == ERROR_SUCCESS &&
        ReadText(setup.get(), L"MsiInstallPath", info.installPath)) {
      found = &candidate;
      break;
    }
    setup.Close();
    branch.Close();
  }
  if (!found) return ExchangeInstallInfo{};

  ReadVersion(setup.get(), info);
  info.mailboxRole = HasSubkey(branch.get(), L"MailboxRole");
  info.hubTransportRole = HasSubkey(branch.get(), L"HubTransportRole");
  info.edgeTransportRole = HasSubkey(branch.get(), L"EdgeTransportRole");
  info.clientAccessRole = HasSubkey(branch.get(), L"ClientAccessRole");
  info.versionCode = found->versionCode;

  RegistryKey pickup;
  if (pickup.Open(branch.get(), L"Pickup") != ERROR_SUCCESS ||
      !ReadText(pickup.get(), L"Path", info.pickupPath))
    info.pickupPath.Clear();
  return info;
}

ExchangeInstallInfo DetectExchange() { return DetectExchangeUnder(HKEY_LOCAL_MACHINE); }

}  // namespace SystemInfo
