#include "sysinfo/worker/attribute_text.h"

#include <cwchar>
#include <cwctype>
#include <iterator>

namespace Worker {
namespace {

bool StartsWithIgnoringCase(const std::wstring& text, const wchar_t* prefix) {
  size_t i = 0;
  for (; prefix[i]; ++i)
    if (i >= text.size() || std::towlower(text[i]) != std::towlower(prefix[i])) return false;
  return true;
}

}  // namespace

std::wstring RolesText(uint32_t flags) {
  static const struct {
    uint32_t bit;
    const wchar_t* name;
  } kRoles[] = {
      {0x2, L"Mailbox"},          {0x4, L"ClientAccess"},  {0x10, L"UnifiedMessaging"},
      {0x20, L"HubTransport"},    {0x40, L"EdgeTransport"}, {0x4000, L"FrontendTransport"},
  };
  std::wstring text;
  for (const auto& role : kRoles) {
    if (!(flags & role.bit)) continue;
    if (!text.empty()) text += L", ";
    text += role.name;
  }
  return text;
}

std::wstring FqdnFromNetworkAddresses(const std::vector<std::wstring>& addresses) {
  static const wchar_t kPrefix[] = L"ncacn_ip_tcp:";
  for (const std::wstring& address : addresses)
    if (StartsWithIgnoringCase(address, kPrefix) && address.size() > std::size(kPrefix) - 1)
      return address.substr(std::size(kPrefix) - 1);
  return std::wstring();
}

std::wstring PrimarySmtpAddress(const std::vector<std::wstring>& proxyAddresses,
                                 const std::wstring& mail) {
  for (const std::wstring& address : proxyAddresses)
    if (address.compare(0, 5, L"SMTP:") == 0 && address.size() > 5) return address.substr(5);
  if (!mail.empty()) return mail;
  for (const std::wstring& address : proxyAddresses)
    if (StartsWithIgnoringCase(address, L"smtp:") && address.size() > 5) return address.substr(5);
  return std::wstring();
}

std::wstring GuidText(const unsigned char* bytes, size_t length) {
  if (!bytes || length != 16) return std::wstring();
  // Data1..Data3 are stored little-endian; Data4 as it is.
  static const int kOrder[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  static const wchar_t kHex[] = L"0123456789abcdef";
  std::wstring text;
  text.reserve(36);
  for (int i = 0; i < 16; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += L'-';
    const unsigned char byte = bytes[kOrder[i]];
    text += kHex[byte >> 4];
    text += kHex[byte & 0xF];
  }
  return text;
}

std::wstring VersionText(const std::wstring& serialNumber) {
  static const wchar_t kPrefix[] = L"Version ";
  if (StartsWithIgnoringCase(serialNumber, kPrefix)) return serialNumber.substr(std::size(kPrefix) - 1);
  return serialNumber;
}

std::wstring RecipientTypeText(const std::wstring& details) {
  static const struct {
    const wchar_t* number;
    const wchar_t* name;
  } kTypes[] = {{L"1", L"UserMailbox"},
                {L"2", L"LinkedMailbox"},
                {L"4", L"SharedMailbox"},
                {L"16", L"RoomMailbox"},
                {L"32", L"EquipmentMailbox"}};
  for (const auto& type : kTypes)
    if (details == type.number) return type.name;
  return details;
}

}  // namespace Worker
