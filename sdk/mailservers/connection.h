#pragma once
// The SMTP connection-level filter plug-in: a master switch, and a sender
// black list with a switch of its own. The plug-in owns the matching of the
// list's patterns.
#include <cstdint>

#include "frame/list.h"
#include "frame/string.h"
#include "sdk/kel_base_interface.h"

namespace kel::nusdk::MailServers::Connection {

// 455bf154-12a5-4737-afdd-4d5a33444c1e, this module's SDK's identifier.
constexpr kel::InterfaceId IID_IConnection{0x473712a5455bf154ull, 0x1e4c44335a4dddafull};

inline constexpr wchar_t kComponentName[] = L"MailServers.Connection";

struct SenderBlackList {
  kel::List<kel::StringW> emails;     // exact sender addresses
  kel::List<kel::StringW> wildcards;  // address patterns
};

class IConnection : public IKelBaseInterface {
 public:
  virtual uint32_t SetEnabled(bool enabled) = 0;                         // slot 1
  virtual uint32_t IsEnabled(bool& enabled) = 0;                         // slot 2
  virtual uint32_t SetSenderBlackListEnabled(bool enabled) = 0;          // slot 3
  virtual uint32_t IsSenderBlackListEnabled(bool& enabled) = 0;          // slot 4
  virtual uint32_t SetSenderBlackList(const SenderBlackList& list) = 0;  // slot 5
  virtual uint32_t GetSenderBlackList(SenderBlackList& list) = 0;        // slot 6

 protected:
  ~IConnection() = default;
};

}  // namespace kel::nusdk::MailServers::Connection
