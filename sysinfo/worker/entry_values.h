#pragma once
// Reading one entry of a search result: its DN and its attributes' values
// as UTF-16 text or as bytes.
#include <string>
#include <vector>

#include "frame/ldap_owner.h"

namespace Worker {

std::wstring EntryDn(LDAP* connection, LDAPMessage* entry);
std::vector<std::wstring> Values(LDAP* connection, LDAPMessage* entry, const wchar_t* attribute);
// The first value; empty when the attribute is absent.
std::wstring FirstValue(LDAP* connection, LDAPMessage* entry, const wchar_t* attribute);
// A 16-byte GUID attribute in its text form; empty when absent or not 16 bytes.
std::wstring GuidValue(LDAP* connection, LDAPMessage* entry, const wchar_t* attribute);

}  // namespace Worker
