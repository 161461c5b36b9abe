#pragma once
// A bound session with the directory and what its root DSE says about it.
#include <string>

#include "frame/ldap_owner.h"
#include "sysinfo/worker/directory_settings.h"
#include "sysinfo/worker/directory_wait.h"

namespace Worker {

struct RootDse {
  std::wstring configurationNamingContext;
  std::wstring defaultNamingContext;
  std::wstring dnsHostName;  // the domain controller that answered
};

class DirectoryConnection {
 public:
  // Connects and binds as `settings` say, then reads the root DSE. Answers 0,
  // kStopped, or a Win32 code with a one-line reason in `error`:
  // ERROR_DS_SERVER_DOWN (nobody answers), ERROR_TIMEOUT, ERROR_LOGON_FAILURE
  // (the bind was refused), or another code of the client.
  DWORD Open(const DirectorySettings& settings, const DirectoryWait& wait, std::wstring& error);

  LDAP* get() const noexcept { return connection_.get(); }
  const RootDse& root() const noexcept { return root_; }

 private:
  DWORD Bind(const DirectorySettings& settings, const DirectoryWait& wait, std::wstring& error);
  DWORD ReadRoot(const DirectoryWait& wait, std::wstring& error);

  kel::UniqueLdap connection_;
  RootDse root_;
  std::wstring where_;
};

}  // namespace Worker
