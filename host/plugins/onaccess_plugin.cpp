// "MailServers.OnAccess": the on-access scanning plug-in that reports scanned
// items and blocked connections to its registered sinks
// (sdk/mailservers/mail_servers.h). Each notification describes one new scan,
// so it starts from an empty item: nothing carries over from the previous one.
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

#include "host/plugins/reference_plugin.h"
#include "host/plugins/structure_json.h"
#include "sdk/kel_base_interface.h"
#include "sdk/mailservers/mail_servers.h"

namespace kelhost {

// Signed 32-bit codes (actions, types, secondary actions, error counts).
template <>
struct ScalarJson<int32_t> {
  static constexpr const char* kExpected = "a signed 32-bit integer";
  static bool Read(const Json::Value& value, int32_t& out) {
    if (value.type() == Json::realValue || !value.isInt()) return false;
    out = value.asInt();
    return true;
  }
};

namespace {

using kel::nusdk::MailServers::ConnectionBlockedInfo;
using kel::nusdk::MailServers::IMailServers;
using kel::nusdk::MailServers::IScanNotifications;
using kel::nusdk::MailServers::ItemScanInfo;
using kel::nusdk::MailServers::RuleInfoHeader;

// A refused 32-bit field: the reader has no signed 32-bit scalar of its own,
// so the field is read as 64 bits and its range checked here.
struct OutOfRange : std::runtime_error {
  using std::runtime_error::runtime_error;
};

void Int32(StructureReader& io, const char* field, int32_t& out) {
  int64_t wide = out;
  io.Int64(field, wide);
  if (wide < INT32_MIN || wide > INT32_MAX) {
    throw OutOfRange(std::string(field) + " must be a signed 32-bit integer");
  }
  out = static_cast<int32_t>(wide);
}

void Header(StructureReader& io, RuleInfoHeader& rule) {
  io.String("ruleName", rule.ruleName);
  io.Bool("stoppedProcessingMoreRules", rule.stoppedProcessingMoreRules);
  io.Bool("detectedWithoutScan", rule.detectedWithoutScan);
}

void Fields(StructureReader& io, ItemScanInfo::Antivirus::RuleInfo& rule) {
  Header(io, rule);
  io.Bool("scanned", rule.scanned);
  io.Bool("isInArchive", rule.isInArchive);
  io.String("fileName", rule.fileName);
  io.String("quarantinedItemId", rule.quarantinedItemId);
  io.UInt32("initialScanStatus", rule.initialScanStatus);
  io.UInt32("finalScanStatus", rule.finalScanStatus);
  io.List("threats", rule.threats,
          [](StructureReader& t, ItemScanInfo::Antivirus::RuleInfo::Threat& threat) {
            t.String("name", threat.name);
            Int32(t, "type", threat.type);
          });
  Int32(io, "actionTaken", rule.actionTaken);
  Int32(io, "actionTakenOnParent", rule.actionTakenOnParent);
}

void Fields(StructureReader& io, ItemScanInfo::Antispam::RuleInfo& rule) {
  Header(io, rule);
  Int32(io, "mainActionTaken", rule.mainActionTaken);
  io.List("secondaryActionsTaken", rule.secondaryActionsTaken);
  Int32(io, "spamScore", rule.spamScore);
  Int32(io, "spamLevel", rule.spamLevel);
}

void Fields(StructureReader& io, ItemScanInfo::Attachment::RuleInfo& rule) {
  Header(io, rule);
  Int32(io, "mainActionTaken", rule.mainActionTaken);
  io.List("secondaryActionsTaken", rule.secondaryActionsTaken);
  io.List("filesMatched", rule.filesMatched,
          [](StructureReader& f, ItemScanInfo::Attachment::RuleInfo::File& file) {
            f.String("name", file.name);
            f.Int64("size", file.size);
          });
}

// Content and domain-check rules have the same fields.
template <class Rule>
void Fields(StructureReader& io, Rule& rule) {
  Header(io, rule);
  Int32(io, "mainActionTaken", rule.mainActionTaken);
  io.List("secondaryActionsTaken", rule.secondaryActionsTaken);
}

template <class Module>
void ModuleResult(StructureReader& io, const char* field, Module& module) {
  io.Structure(field, module, [](StructureReader& m, Module& result) {
    Int32(m, "action", result.action);
    m.List("rules", result.rules,
           [](StructureReader& r, typename Module::RuleInfo& rule) { Fields(r, rule); });
  });
}

void ReadItem(StructureReader& io, ItemScanInfo& item) {
  io.String("quarantinedItemId", item.quarantinedItemId);
  io.Guid("onDemandTaskId", item.onDemandTaskId);
  io.String("mailbox", item.mailbox);
  io.String("folderPath", item.folderPath);
  io.String("fileName", item.fileName);
  io.UInt32("traffic", item.traffic);
  io.String("senderConnection", item.senderConnection);
  io.String("senderEmail", item.senderEmail);
  io.StringList("recipientConnections", item.recipientConnections);
  io.StringList("recipientEmails", item.recipientEmails);
  io.Bool("authenticated", item.authenticated);
  io.String("subject", item.subject);
  io.String("sourceIp", item.sourceIp);
  io.String("messageId", item.messageId);
  io.Int64("size", item.size);
  Int32(io, "actionTaken", item.actionTaken);
  Int32(io, "objectType", item.objectType);
  io.Map("errors", item.errors);
  ModuleResult(io, "antivirus", item.antivirus);
  ModuleResult(io, "antispam", item.antispam);
  ModuleResult(io, "attachment", item.attachment);
  ModuleResult(io, "content", item.content);
  ModuleResult(io, "domainCheck", item.domainCheck);
}

class OnAccessPlugin final : public ReferencePlugin, public IMailServers {
 public:
  const wchar_t* ComponentName() const override {
    return kel::nusdk::MailServers::kOnAccessComponentName;
  }

  void* Interface(const kel::InterfaceId& iid) override { return QueryInterface(&iid); }

  void* QueryInterface(const kel::InterfaceId* iid) override {
    if (iid == nullptr) return nullptr;
    if (*iid == IID_IKelBaseInterface || *iid == kel::nusdk::MailServers::IID_IMailServers) {
      return static_cast<IMailServers*>(this);
    }
    return nullptr;
  }

  uint32_t Reserved1() override { return Failure(); }
  uint32_t Reserved2() override { return Failure(); }
  uint32_t Reserved3() override { return Failure(); }
  uint32_t Reserved4() override { return Failure(); }

  uint32_t RegisterScanNotifications(IScanNotifications* sink, void* reserved) override {
    if (const uint32_t code = Failure()) return code;
    if (reserved != nullptr) return kPluginBadArgument;
    return Shielded([&] { return sinks_.Add(sink); });
  }

  uint32_t UnregisterScanNotifications(IScanNotifications* sink) override {
    return Guarded([&] { return sinks_.Remove(sink); });
  }

  NotifyOutcome Notify(const std::string& notification, const Json::Value& data) override {
    return NotifyRepeated(notification, data, Delivery{});
  }

  NotifyOutcome NotifyRepeated(const std::string& notification, const Json::Value& data,
                               const Delivery& delivery) override {
    if (notification == "itemScanned") {
      ItemScanInfo item;
      return Deliver(
          data, "ItemScanInfo", item, ReadItem, delivery,
          [](IScanNotifications& sink, const ItemScanInfo& info) { sink.OnItemScanned(info); });
    }
    if (notification == "connectionBlocked") {
      ConnectionBlockedInfo blocked;
      return Deliver(
          data, "ConnectionBlockedInfo", blocked,
          [](StructureReader& io, ConnectionBlockedInfo& info) {
            io.String("senderEmail", info.senderEmail);
            Int32(io, "blockedBy", info.blockedBy);
          },
          delivery,
          [](IScanNotifications& sink, const ConnectionBlockedInfo& info) {
            sink.OnConnectionBlocked(info);
          });
    }
    return NotifyOutcome::Failed("unknown notification",
                                 "MailServers.OnAccess has no notification \"" + notification +
                                     "\" (itemScanned, connectionBlocked)");
  }

 private:
  template <class T, class Read, class Call>
  NotifyOutcome Deliver(const Json::Value& data, const char* what, T& value, Read read,
                        const Delivery& delivery, Call call) {
    StructureReader reader(data, what);
    try {
      read(reader, value);
    } catch (const OutOfRange& refused) {
      return NotifyOutcome::Failed("bad data", std::string(what) + ": " + refused.what());
    }
    std::string problem;
    if (!reader.Finish(problem)) return NotifyOutcome::Failed("bad data", problem);
    const std::vector<IScanNotifications*> sinks = sinks_.Snapshot();
    DeliverOnPluginThreads(delivery, [&] {
      for (IScanNotifications* sink : sinks) call(*sink, value);
    });
    NotifyOutcome outcome;
    outcome.delivered = static_cast<uint32_t>(sinks.size() * delivery.repeat * delivery.threads);
    return outcome;
  }

  SinkSet<IScanNotifications> sinks_;
};

}  // namespace

std::unique_ptr<ReferencePlugin> MakeOnAccessPlugin() { return std::make_unique<OnAccessPlugin>(); }

}  // namespace kelhost
