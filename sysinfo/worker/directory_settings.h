#pragma once
// Where the worker finds the directory and how it binds. By default (nothing
// set) it binds serverless to the domain controller the system picks, with
// the process's own credentials (Negotiate), as it should on a domain member.
//
// Each setting is read from an environment variable, then from a value under
// HKEY_LOCAL_MACHINE\SOFTWARE\Kel\MailServers\Directory; the variable wins:
//   KEL_DIRECTORY_SERVER    "Server"          host, host:port or [IPv6]:port
//   KEL_DIRECTORY_BIND      "Bind"            negotiate | simple | anonymous
//   KEL_DIRECTORY_USER      "User"            the DN (or name) of a simple bind
//   KEL_DIRECTORY_PASSWORD  (no registry)     its password: never kept in the registry
//   KEL_DIRECTORY_TIMEOUT   "TimeoutSeconds"  per directory answer, 1..3600 (30)
//   KEL_DIRECTORY_PAGE_SIZE "PageSize"        entries per page, 1..5000 (500)
#include <cstdint>
#include <string>

#include "frame/win.h"

namespace Worker {

enum class BindMethod { kNegotiate, kSimple, kAnonymous };

struct DirectorySettings {
  std::wstring host;  // empty: serverless
  uint16_t port = 389;
  BindMethod bind = BindMethod::kNegotiate;
  std::wstring user;
  std::wstring password;
  uint32_t timeoutSeconds = 30;
  uint32_t pageSize = 500;
};

// Where a setting comes from: the worker asks the environment, then the
// registry; tests hand in their own.
class SettingSource {
 public:
  // True and the text when the setting is present (a REG_DWORD is written in
  // decimal); false when absent.
  virtual bool Find(const wchar_t* variable, const wchar_t* registryValue, std::wstring& text) = 0;

 protected:
  ~SettingSource() = default;
};

// The environment, then HKEY_LOCAL_MACHINE\SOFTWARE\Kel\MailServers\Directory.
SettingSource& SystemSettings();

// Reads every setting. False, with a one-line reason in `error` naming the
// setting, when one is present but not understood: a wrong setting must not
// quietly send the worker to another directory.
bool ReadDirectorySettings(SettingSource& source, DirectorySettings& out, std::wstring& error);

}  // namespace Worker
