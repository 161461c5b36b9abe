#include "sysinfo/worker/directory_wait.h"

namespace Worker {

namespace {
// How long one slice of a wait lasts, and how often the stop event is looked
// at: about the most a stop waits to be noticed.
constexpr LONG kSliceMicroseconds = 50 * 1000;
constexpr ULONGLONG kLookEveryMs = 50;
}  // namespace

DWORD Win32FromLdap(ULONG ldapCode) noexcept {
  switch (ldapCode) {
    case LDAP_SUCCESS: return ERROR_SUCCESS;
    case LDAP_SERVER_DOWN:
    case LDAP_CONNECT_ERROR:
    case LDAP_UNAVAILABLE: return ERROR_DS_SERVER_DOWN;
    case LDAP_TIMEOUT:
    case LDAP_TIMELIMIT_EXCEEDED: return ERROR_TIMEOUT;
    case LDAP_INVALID_CREDENTIALS: return ERROR_LOGON_FAILURE;
    case LDAP_NO_SUCH_OBJECT: return ERROR_DS_NO_SUCH_OBJECT;
    case LDAP_INSUFFICIENT_RIGHTS: return ERROR_ACCESS_DENIED;
    default: break;
  }
  const ULONG mapped = ::LdapMapErrorToWin32(ldapCode);
  return mapped != ERROR_SUCCESS ? mapped : ERROR_DS_GENERIC_ERROR;
}

std::wstring LdapCodeText(ULONG ldapCode) {
  const wchar_t* text = ::ldap_err2stringW(ldapCode);
  return std::wstring(text && *text ? text : L"LDAP error") + L" (LDAP " + std::to_wstring(ldapCode) +
         L")";
}

DirectoryWait::DirectoryWait(HANDLE stopEvent, uint32_t timeoutSeconds) noexcept
    : stopEvent_(stopEvent), timeoutSeconds_(timeoutSeconds) {}

bool DirectoryWait::Stopped() const noexcept {
  return stopEvent_ && ::WaitForSingleObject(stopEvent_, 0) == WAIT_OBJECT_0;
}

bool DirectoryWait::StoppedSinceLastLook() const noexcept {
  if (!stopEvent_) return false;
  const ULONGLONG now = ::GetTickCount64();
  if (now < nextLook_) return false;
  nextLook_ = now + kLookEveryMs;
  return Stopped();
}

DWORD DirectoryWait::Next(LDAP* connection, ULONG messageId, const wchar_t* what,
                          kel::UniqueLdapMessage& message, ULONG& type, std::wstring& error) const {
  const ULONGLONG deadline = ::GetTickCount64() + ULONGLONG{timeoutSeconds_} * 1000;
  for (;;) {
    if (StoppedSinceLastLook()) {
      ::ldap_abandon(connection, messageId);
      error = std::wstring(what) + L": stopped";
      return kStopped;
    }
    l_timeval slice{0, kSliceMicroseconds};
    LDAPMessage* raw = nullptr;
    const ULONG answer = ::ldap_result(connection, messageId, LDAP_MSG_ONE, &slice, &raw);
    message.reset(raw);
    if (answer == static_cast<ULONG>(-1)) {
      const ULONG code = ::LdapGetLastError();
      error = std::wstring(what) + L": " + LdapCodeText(code);
      return code != LDAP_SUCCESS ? Win32FromLdap(code) : ERROR_DS_SERVER_DOWN;
    }
    if (answer != 0 && raw) {
      type = answer;
      return ERROR_SUCCESS;
    }
    if (::GetTickCount64() >= deadline) {
      ::ldap_abandon(connection, messageId);
      error = std::wstring(what) + L": no answer within " + std::to_wstring(timeoutSeconds_) + L" s";
      return ERROR_TIMEOUT;
    }
  }
}

}  // namespace Worker
