// "MailServers.Connection": the SMTP connection filter, its switch and its
// sender black list (sdk/mailservers/connection.h). It has no notifications.
#include <memory>
#include <mutex>

#include "host/plugins/reference_plugin.h"
#include "host/plugins/structure_json.h"
#include "sdk/kel_base_interface.h"
#include "sdk/mailservers/connection.h"

namespace kelhost {
namespace {

using kel::nusdk::MailServers::Connection::IConnection;
using kel::nusdk::MailServers::Connection::SenderBlackList;

// Starts switched off, with an empty black list.
class ConnectionPlugin final : public ReferencePlugin, public IConnection {
 public:
  const wchar_t* ComponentName() const override {
    return kel::nusdk::MailServers::Connection::kComponentName;
  }

  void* Interface(const kel::InterfaceId& iid) override { return QueryInterface(&iid); }

  void* QueryInterface(const kel::InterfaceId* iid) override {
    if (iid == nullptr) return nullptr;
    if (*iid == IID_IKelBaseInterface ||
        *iid == kel::nusdk::MailServers::Connection::IID_IConnection) {
      return static_cast<IConnection*>(this);
    }
    return nullptr;
  }

  uint32_t SetEnabled(bool enabled) override { return Store(enabled_, enabled); }
  uint32_t IsEnabled(bool& enabled) override { return Answer(enabled_, enabled); }
  uint32_t SetSenderBlackListEnabled(bool enabled) override {
    return Store(blackListEnabled_, enabled);
  }
  uint32_t IsSenderBlackListEnabled(bool& enabled) override {
    return Answer(blackListEnabled_, enabled);
  }

  uint32_t SetSenderBlackList(const SenderBlackList& list) override {
    if (const uint32_t code = Failure()) return code;
    try {
      SenderBlackList copy;
      if (const uint32_t code = WriteListSlots(copy.emails, list.emails)) return code;
      if (const uint32_t code = WriteListSlots(copy.wildcards, list.wildcards)) return code;
      std::lock_guard<std::mutex> lock(mutex_);
      blackList_ = std::move(copy);
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t GetSenderBlackList(SenderBlackList& list) override {
    if (const uint32_t code = Failure()) return code;
    try {
      std::lock_guard<std::mutex> lock(mutex_);
      if (const uint32_t code = WriteListSlots(list.emails, blackList_.emails)) return code;
      return WriteListSlots(list.wildcards, blackList_.wildcards);
    } catch (...) {
      return kPluginInternalError;
    }
  }

  NotifyOutcome Notify(const std::string& notification, const Json::Value&) override {
    return NotifyOutcome::Failed(
        "unknown notification",
        "MailServers.Connection has no notification \"" + notification + "\"");
  }

 private:
  uint32_t Store(bool& flag, bool value) {
    if (const uint32_t code = Failure()) return code;
    std::lock_guard<std::mutex> lock(mutex_);
    flag = value;
    return 0;
  }
  uint32_t Answer(const bool& flag, bool& out) {
    if (const uint32_t code = Failure()) return code;
    std::lock_guard<std::mutex> lock(mutex_);
    out = flag;
    return 0;
  }

  std::mutex mutex_;
  bool enabled_ = false;
  bool blackListEnabled_ = false;
  SenderBlackList blackList_;
};

}  // namespace

std::unique_ptr<ReferencePlugin> MakeConnectionPlugin() {
  return std::make_unique<ConnectionPlugin>();
}

}  // namespace kelhost
