#pragma once
// Sole owners of the Windows LDAP client's resources, in the manner of
// frame/owners.h. Kept apart from it so that only code that talks to a
// directory pulls in winldap.h and links wldap32.
#include "frame/owners.h"
#include "frame/win.h"
#include <winldap.h>

namespace kel {

namespace detail {
inline ULONG UnbindLdap(LDAP* connection) noexcept { return ::ldap_unbind(connection); }
inline ULONG FreeLdapMessage(LDAPMessage* message) noexcept { return ::ldap_msgfree(message); }
inline ULONG FreeLdapControl(LDAPControlW* control) noexcept { return ::ldap_control_freeW(control); }
inline ULONG FreeLdapControls(LDAPControlW** controls) noexcept {
  return ::ldap_controls_freeW(controls);
}
inline ULONG FreeLdapValues(PWCHAR* values) noexcept { return ::ldap_value_freeW(values); }
inline ULONG FreeLdapBinaryValues(berval** values) noexcept { return ::ldap_value_free_len(values); }
inline ULONG FreeLdapText(PWCHAR text) noexcept {
  ::ldap_memfreeW(text);
  return 0;
}
inline ULONG FreeBerval(berval* value) noexcept {
  ::ber_bvfree(value);
  return 0;
}
}  // namespace detail

// A session from ldap_initW: unbound and freed once.
using UniqueLdap = UniqueAny<LDAP*, &detail::UnbindLdap>;
// One message (or chain) from ldap_result.
using UniqueLdapMessage = UniqueAny<LDAPMessage*, &detail::FreeLdapMessage>;
using UniqueLdapControl = UniqueAny<LDAPControlW*, &detail::FreeLdapControl>;
using UniqueLdapControls = UniqueAny<LDAPControlW**, &detail::FreeLdapControls>;
using UniqueLdapValues = UniqueAny<PWCHAR*, &detail::FreeLdapValues>;
using UniqueLdapBinaryValues = UniqueAny<berval**, &detail::FreeLdapBinaryValues>;
// Text the client allocated (ldap_get_dnW, error messages from ldap_parse_resultW).
using UniqueLdapText = UniqueAny<PWCHAR, &detail::FreeLdapText>;
using UniqueBerval = UniqueAny<berval*, &detail::FreeBerval>;

}  // namespace kel
