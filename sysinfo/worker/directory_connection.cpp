#include "sysinfo/worker/directory_connection.h"

#include "sysinfo/worker/entry_values.h"

namespace Worker {

DWORD DirectoryConnection::Open(const DirectorySettings& settings, const DirectoryWait& wait,
                                std::wstring& error) {
  where_ = settings.host.empty() ? std::wstring(L"the default domain controller")
                                 : settings.host + L":" + std::to_wstring(settings.port);
  // No host: the client finds a domain controller of the computer's domain.
  connection_.reset(::ldap_initW(settings.host.empty() ? nullptr : const_cast<PWSTR>(settings.host.c_str()),
                                 settings.port));
  if (!connection_) {
    const ULONG code = ::LdapGetLastError();
    error = L"cannot reach " + where_ + L": " + LdapCodeText(code);
    return code != LDAP_SUCCESS ? Win32FromLdap(code) : ERROR_DS_SERVER_DOWN;
  }
  ULONG version = LDAP_VERSION3;
  ::ldap_set_optionW(connection_.get(), LDAP_OPT_PROTOCOL_VERSION, &version);
  // The domain partition refers to the DNS zones and the configuration
  // partition; chasing those would bind to other servers the worker never asked
  // for. References are skipped instead. Only LDAP_OPT_OFF itself turns chasing
  // off with every client.
  ::ldap_set_optionW(connection_.get(), LDAP_OPT_REFERRALS, LDAP_OPT_OFF);

  const DWORD bound = Bind(settings, wait, error);
  if (bound != ERROR_SUCCESS) return bound;
  return ReadRoot(wait, error);
}

DWORD DirectoryConnection::Bind(const DirectorySettings& settings, const DirectoryWait& wait,
                                std::wstring& error) {
  LDAP* connection = connection_.get();
  if (settings.bind == BindMethod::kNegotiate) {
    // The process's own credentials. A Negotiate bind exists only in the
    // synchronous form, so the connection is made first, with a time limit,
    // and the bind itself runs on a live connection.
    l_timeval limit{static_cast<LONG>(wait.timeoutSeconds()), 0};
    ULONG code = ::ldap_connect(connection, &limit);
    if (code == LDAP_SUCCESS) code = ::ldap_bind_sW(connection, nullptr, nullptr, LDAP_AUTH_NEGOTIATE);
    if (code != LDAP_SUCCESS) {
      error = L"cannot bind to " + where_ + L" with the process's credentials: " + LdapCodeText(code);
      return Win32FromLdap(code);
    }
    return ERROR_SUCCESS;
  }
  // A simple bind is asynchronous, so that a silent server is a timeout and a
  // stop is seen while the bind waits.
  const bool anonymous = settings.bind == BindMethod::kAnonymous;
  const ULONG id = ::ldap_simple_bindW(
      connection, anonymous ? nullptr : const_cast<PWSTR>(settings.user.c_str()),
      anonymous ? nullptr : const_cast<PWSTR>(settings.password.c_str()));
  if (id == static_cast<ULONG>(-1)) {
    // The request could not even be sent: nobody took the connection. The
    // client's own code says so in different ways (LDAP_SERVER_DOWN; some
    // clients hand on the socket's error, such as 10057), so the outcome is
    // fixed and the client's code only told.
    const ULONG code = ::LdapGetLastError();
    error = L"cannot reach " + where_ + L": " + LdapCodeText(code);
    return ERROR_DS_SERVER_DOWN;
  }
  kel::UniqueLdapMessage message;
  ULONG type = 0;
  const std::wstring what = L"bind to " + where_;
  const DWORD waited = wait.Next(connection, id, what.c_str(), message, type, error);
  if (waited != ERROR_SUCCESS) return waited;
  const ULONG code = ::ldap_result2error(connection, message.get(), FALSE);
  if (code != LDAP_SUCCESS) {
    error = L"bind to " + where_ + (anonymous ? L" (anonymous)" : L" as " + settings.user) +
            L" refused: " + LdapCodeText(code);
    return Win32FromLdap(code);
  }
  return ERROR_SUCCESS;
}

DWORD DirectoryConnection::ReadRoot(const DirectoryWait& wait, std::wstring& error) {
  LDAP* connection = connection_.get();
  const wchar_t* attributes[] = {L"configurationNamingContext", L"defaultNamingContext",
                                 L"dnsHostName", nullptr};
  ULONG id = 0;
  const ULONG started =
      ::ldap_search_extW(connection, const_cast<PWSTR>(L""), LDAP_SCOPE_BASE,
                         const_cast<PWSTR>(L"(objectClass=*)"), const_cast<PWCHAR*>(attributes), 0,
                         nullptr, nullptr, 0, 0, &id);
  if (started != LDAP_SUCCESS) {
    error = L"cannot read the root DSE of " + where_ + L": " + LdapCodeText(started);
    return Win32FromLdap(started);
  }
  for (;;) {
    kel::UniqueLdapMessage message;
    ULONG type = 0;
    const DWORD waited = wait.Next(connection, id, L"root DSE", message, type, error);
    if (waited != ERROR_SUCCESS) return waited;
    if (type == LDAP_RES_SEARCH_ENTRY) {
      root_.configurationNamingContext = FirstValue(connection, message.get(), L"configurationNamingContext");
      root_.defaultNamingContext = FirstValue(connection, message.get(), L"defaultNamingContext");
      root_.dnsHostName = FirstValue(connection, message.get(), L"dnsHostName");
    } else if (type == LDAP_RES_SEARCH_RESULT) {
      const ULONG code = ::ldap_result2error(connection, message.get(), FALSE);
      if (code != LDAP_SUCCESS) {
        error = L"cannot read the root DSE of " + where_ + L": " + LdapCodeText(code);
        return Win32FromLdap(code);
      }
      break;
    }
  }
  if (root_.configurationNamingContext.empty() || root_.defaultNamingContext.empty()) {
    error = where_ + L" names no configuration or domain partition in its root DSE";
    return ERROR_DS_NO_SUCH_OBJECT;
  }
  return ERROR_SUCCESS;
}

}  // namespace Worker
