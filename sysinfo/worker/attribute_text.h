#pragma once
// The directory's raw attribute values turned into what an administrator
// reads: role names for the role bit set, a server's FQDN among its network
// addresses, a mailbox's primary SMTP address among its proxy addresses,
// GUIDs from their 16 stored bytes.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Worker {

// msExchCurrentServerRoles: "Mailbox, ClientAccess, HubTransport", in bit
// order; unknown bits are left out; empty for none.
std::wstring RolesText(uint32_t flags);

// The host of the first "ncacn_ip_tcp:HOST" address (case-insensitive
// prefix); empty when there is none.
std::wstring FqdnFromNetworkAddresses(const std::vector<std::wstring>& addresses);

// The proxy address marked primary ("SMTP:" in upper case), without the
// prefix; otherwise `mail`; otherwise the first "smtp:" address.
std::wstring PrimarySmtpAddress(const std::vector<std::wstring>& proxyAddresses,
                                 const std::wstring& mail);

// The stored form of a GUID (Data1, Data2, Data3 little-endian, then eight
// bytes) as "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx" in lower case. Empty
// unless exactly 16 bytes.
std::wstring GuidText(const unsigned char* bytes, size_t length);

// "Version 15.1 (Build 2507.6)" -> "15.1 (Build 2507.6)"; other text as it is.
std::wstring VersionText(const std::wstring& serialNumber);

// msExchRecipientTypeDetails of a mailbox: "UserMailbox", "SharedMailbox",
// "RoomMailbox", "EquipmentMailbox", "LinkedMailbox"; another number in
// decimal; empty for none.
std::wstring RecipientTypeText(const std::wstring& details);

}  // namespace Worker
