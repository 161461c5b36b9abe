#include "sysinfo/worker/entry_values.h"

#include "sysinfo/worker/attribute_text.h"

namespace Worker {

std::wstring EntryDn(LDAP* connection, LDAPMessage* entry) {
  kel::UniqueLdapText dn(::ldap_get_dnW(connection, entry));
  return dn ? std::wstring(dn.get()) : std::wstring();
}

std::vector<std::wstring> Values(LDAP* connection, LDAPMessage* entry, const wchar_t* attribute) {
  std::vector<std::wstring> values;
  kel::UniqueLdapValues raw(::ldap_get_valuesW(connection, entry, const_cast<PWSTR>(attribute)));
  if (!raw) return values;
  for (PWCHAR* value = raw.get(); *value; ++value) values.emplace_back(*value);
  return values;
}

std::wstring FirstValue(LDAP* connection, LDAPMessage* entry, const wchar_t* attribute) {
  kel::UniqueLdapValues raw(::ldap_get_valuesW(connection, entry, const_cast<PWSTR>(attribute)));
  return raw && raw.get()[0] ? std::wstring(raw.get()[0]) : std::wstring();
}

std::wstring GuidValue(LDAP* connection, LDAPMessage* entry, const wchar_t* attribute) {
  kel::UniqueLdapBinaryValues raw(
      ::ldap_get_values_lenW(connection, entry, const_cast<PWSTR>(attribute)));
  if (!raw || !raw.get()[0]) return std::wstring();
  const berval* value = raw.get()[0];
  return GuidText(reinterpret_cast<const unsigned char*>(value->bv_val), value->bv_len);
}

}  // namespace Worker
