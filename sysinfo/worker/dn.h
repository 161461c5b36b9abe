#pragma once
// Distinguished names as the directory writes them, compared the way it
// compares them. The same DN comes back in different spellings: "CN=EX01"
// from one server and "cn=EX01" from another, a comma as "\," or "\2C",
// spaces around the separators, another letter case. A DN-valued attribute
// (homeMDB, msExchOwningServer) is joined to the entry it names through the
// key that NormalizeDn makes of both.
#include <string>

namespace Worker {

// A key equal for two spellings of one DN: attribute types and values in
// upper case, escapes resolved and written one way, spaces around separators
// and a value's unescaped outer spaces dropped. Text without a single
// type=value (an absent attribute read as "") gives the empty key, which no
// entry's DN has.
std::wstring NormalizeDn(const std::wstring& dn);

// The value of the first RDN, unescaped: "EX01" of "CN=EX01,CN=Servers,...".
// Empty when `dn` has none.
std::wstring FirstRdnValue(const std::wstring& dn);

}  // namespace Worker
