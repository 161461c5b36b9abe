#pragma once
// The transport plug-in: the SMTP deny message and the exclusion keys.
#include <cstdint>

#include "frame/list.h"
#include "frame/string.h"
#include "sdk/kel_base_interface.h"

namespace kel::nusdk::MailServers::Transport {

// 7d3c1b52-9e4a-4f61-b0a8-2c6e5d4f3a19 (this module's SDK identifier)
constexpr kel::InterfaceId IID_ITransport{0x4f619e4a7d3c1b52ull, 0x193a4f5d6e2ca8b0ull};

inline constexpr wchar_t kComponentName[] = L"MailServers.Transport";

struct ExclusionKeys {
  kel::List<kel::StringW> keys;
  uint8_t local = 0;   // the local server's own traffic is excluded
  uint8_t domain = 0;  // the organisation's domain traffic is excluded
};

class ITransport : public IKelBaseInterface {
 public:
  virtual uint32_t GetDenyMessage(kel::StringW& message) = 0;        // slot 1
  virtual uint32_t SetDenyMessage(const kel::StringW& message) = 0;  // slot 2
  virtual uint32_t SetExclusionKeys(const ExclusionKeys& keys) = 0;  // slot 3
  virtual uint32_t GetExclusionKeys(ExclusionKeys& keys) = 0;        // slot 4

 protected:
  ~ITransport() = default;
};

}  // namespace kel::nusdk::MailServers::Transport
