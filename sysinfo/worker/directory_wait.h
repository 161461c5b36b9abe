#pragma once
// Waiting for the directory's answers without ever waiting blind: each wait
// is cut into short slices between which the worker looks at its stop event
// and at the time one answer may take. A server that accepted the connection
// and then says nothing is thereby a timeout, not a hang.
#include <cstdint>
#include <string>

#include "frame/ldap_owner.h"

namespace Worker {

// What a wait or a directory call can end in besides success: the stop event
// was signalled (reported by the worker as exit code 1).
inline constexpr DWORD kStopped = ERROR_CANCELLED;

// The Win32 code for an LDAP result code: the cases the worker reports on
// their own (server down, timeout, bad credentials, no such object, access
// denied), the system's own mapping for the rest.
DWORD Win32FromLdap(ULONG ldapCode) noexcept;

// "Invalid Credentials (LDAP 49)".
std::wstring LdapCodeText(ULONG ldapCode);

class DirectoryWait {
 public:
  // `stopEvent` may be null (nothing can stop the run).
  DirectoryWait(HANDLE stopEvent, uint32_t timeoutSeconds) noexcept;

  bool Stopped() const noexcept;

  // Waits for the next message of operation `messageId` (one at a time: a
  // chain holding a search reference is not safe with every client). Answers
  // 0 with the message and its type, kStopped or ERROR_TIMEOUT after
  // abandoning the operation, or the code of a failed connection; `error`
  // then says what (prefixed with `what`).
  DWORD Next(LDAP* connection, ULONG messageId, const wchar_t* what, kel::UniqueLdapMessage& message,
             ULONG& type, std::wstring& error) const;

  uint32_t timeoutSeconds() const noexcept { return timeoutSeconds_; }

 private:
  // Looking at the event costs a round trip to the system; between answers
  // that arrive back to back it is looked at once per slice at most.
  bool StoppedSinceLastLook() const noexcept;

  HANDLE stopEvent_;
  uint32_t timeoutSeconds_;
  mutable ULONGLONG nextLook_ = 0;
};

}  // namespace Worker
