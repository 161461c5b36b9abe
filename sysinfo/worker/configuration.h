#pragma once
// The organisation's settings that a mail-protection console works with.
#include <cstdint>
#include <string>
#include <vector>

namespace Worker {

struct AcceptedDomain {
  std::wstring domain;
  uint32_t flags = 0;  // msExchAcceptedDomainFlags
};

// msExchAcceptedDomainFlags: the type in the low two bits, the default mark.
inline constexpr uint32_t kDomainTypeMask = 0x3;
inline constexpr uint32_t kAuthoritative = 0;
inline constexpr uint32_t kExternalRelay = 1;
inline constexpr uint32_t kInternalRelay = 2;
inline constexpr uint32_t kDefaultDomain = 0x4;

struct Configuration {
  std::wstring name;
  std::wstring guid;
  std::wstring dn;
  std::vector<AcceptedDomain> acceptedDomains;
  // Transport limits as the directory holds them (sizes in KB); empty: not set.
  std::wstring maxSendSizeKB;
  std::wstring maxReceiveSizeKB;
  std::wstring maxRecipientsPerMessage;
  std::vector<std::wstring> internalSmtpServers;
  std::vector<std::wstring> serverNames;
  std::wstring directoryServer;
  std::wstring defaultNamingContext;
  std::wstring configurationNamingContext;
};

}  // namespace Worker
