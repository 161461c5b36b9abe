// "MailServers.Transport": the deny message and the exclusion keys (sdk/mailservers/transport.h).
#include <memory>
#include <mutex>

#include "host/plugins/reference_plugin.h"
#include "host/plugins/structure_json.h"
#include "sdk/kel_base_interface.h"
#include "sdk/mailservers/transport.h"

namespace kelhost {
namespace {

namespace tp = kel::nusdk::MailServers::Transport;

class TransportPlugin final : public ReferencePlugin, public tp::ITransport {
 public:
  TransportPlugin() { denyMessage_ = L"550 5.7.1 Message rejected"; }

  const wchar_t* ComponentName() const override { return tp::kComponentName; }
  void* Interface(const kel::InterfaceId& iid) override { return QueryInterface(&iid); }

  void* QueryInterface(const kel::InterfaceId* iid) override {
    if (iid == nullptr) return nullptr;
    if (*iid == IID_IKelBaseInterface || *iid == tp::IID_ITransport)
      return static_cast<tp::ITransport*>(this);
    return nullptr;
  }

  uint32_t GetDenyMessage(kel::StringW& message) override {
    if (const uint32_t code = Failure()) return code;
    try {
      std::lock_guard<std::mutex> lock(mutex_);
      message = denyMessage_;
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t SetDenyMessage(const kel::StringW& message) override {
    if (const uint32_t code = Failure()) return code;
    try {
      kel::StringW copy(message.c_str(), message.Length());
      std::lock_guard<std::mutex> lock(mutex_);
      denyMessage_ = std::move(copy);
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t SetExclusionKeys(const tp::ExclusionKeys& keys) override {
    if (const uint32_t code = Failure()) return code;
    try {
      tp::ExclusionKeys copy;
      copy.local = keys.local;
      copy.domain = keys.domain;
      if (const uint32_t code = WriteListSlots(copy.keys, keys.keys)) return code;
      std::lock_guard<std::mutex> lock(mutex_);
      keys_ = std::move(copy);
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t GetExclusionKeys(tp::ExclusionKeys& keys) override {
    if (const uint32_t code = Failure()) return code;
    try {
      std::lock_guard<std::mutex> lock(mutex_);
      keys.local = keys_.local;
      keys.domain = keys_.domain;
      return WriteListSlots(keys.keys, keys_.keys);
    } catch (...) {
      return kPluginInternalError;
    }
  }

  NotifyOutcome Notify(const std::string& notification, const Json::Value&) override {
    return NotifyOutcome::Failed(
        "unknown notification",
        "MailServers.Transport has no notification \"" + notification + "\"");
  }

 private:
  std::mutex mutex_;
  kel::StringW denyMessage_;
  tp::ExclusionKeys keys_;
};

}  // namespace

std::unique_ptr<ReferencePlugin> MakeTransportPlugin() {
  return std::make_unique<TransportPlugin>();
}

}  // namespace kelhost
