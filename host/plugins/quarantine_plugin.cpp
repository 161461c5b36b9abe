// "MailServers.Quarantine" and "MailServers.Quarantine.ReleaseEmail": the two
// quarantine plug-ins over one in-memory store (quarantine_store.h).
#include "frame/win.h"

#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "host/plugins/quarantine_store.h"
#include "host/plugins/rule_set_plugin.h"
#include "host/plugins/structure_json.h"
#include "sdk/kel_base_interface.h"

namespace kelhost {
namespace {

using quarantine::Data;
using quarantine::DataEx;
using quarantine::IQuarantine;
using quarantine::IReleaseEmail;
using MailPartInfo = DataEx::MailPartInfo;

// ---- copying into the caller's structures, through their list slots ----

void CopyData(const Data& from, Data& to) {
  to.id = from.id;
  to.detectionPoint.location = from.detectionPoint.location;
  to.detectionPoint.mailbox = from.detectionPoint.mailbox;
  to.detectionPoint.folder = from.detectionPoint.folder;
  to.detectionPoint.task = from.detectionPoint.task;
  to.module = from.module;
  to.rule = from.rule;
  to.size = from.size;
  to.sourceIP = from.sourceIP;
  to.subject = from.subject;
  to.contentType = from.contentType;
  to.when = from.when;
  to.senderConnection = from.senderConnection;
  to.senderEmail = from.senderEmail;
  WriteListSlots(to.recipientConnections, from.recipientConnections);
  WriteListSlots(to.recipientEmails, from.recipientEmails);
  to.antivirusReason = from.antivirusReason;
  to.antivirusStatus = from.antivirusStatus;
  to.antivirusDetected = from.antivirusDetected;
  to.antivirusFile = from.antivirusFile;
  to.attachmentDetected = from.attachmentDetected;
}

void CopyDataEx(const DataEx& from, DataEx& to) {
  CopyData(from, to);
  to.mainPart.name = from.mainPart.name;
  to.mainPart.contentType = from.mainPart.contentType;
  to.mainPart.body = from.mainPart.body;
  CopyListSlots(to.mainPart.headers, from.mainPart.headers);
  CopyListSlots(to.mainPart.childParts, from.mainPart.childParts);
}

template <class Item>
uint32_t FillItems(kel::IList<Item>& target, const std::vector<DataEx>& items) {
  target.RemoveAll();
  for (const DataEx& stored : items) {
    Item copy;
    if constexpr (std::is_same_v<Item, DataEx>) {
      CopyDataEx(stored, copy);
    } else {
      CopyData(stored, copy);
    }
    if (const uint32_t code = target.AddBack(copy)) return code;
  }
  return 0;
}

// ---- items in scripts ----

struct PartFields {
  void operator()(StructureReader& io, MailPartInfo& part) const {
    io.List("headers", part.headers, [](StructureReader& h, MailPartInfo::HeaderField& field) {
      h.String("name", field.name);
      h.String("value", field.value);
    });
    io.String("name", part.name);
    io.String("contentType", part.contentType);
    io.String("body", part.body);
    io.List("childParts", part.childParts, *this);
  }
};

void Int32Field(StructureReader& io, const char* field, int32_t& value) {
  uint32_t bits = static_cast<uint32_t>(value);
  io.UInt32(field, bits);
  value = static_cast<int32_t>(bits);
}

void ItemFields(StructureReader& io, DataEx& item) {
  io.String("id", item.id);
  io.Structure("detectionPoint", item.detectionPoint,
               [](StructureReader& d, quarantine::DetectionPoint& point) {
                 Int32Field(d, "location", point.location);
                 d.String("mailbox", point.mailbox);
                 d.String("folder", point.folder);
                 d.String("task", point.task);
               });
  Int32Field(io, "module", item.module);
  io.String("rule", item.rule);
  io.UInt64("size", item.size);
  io.String("sourceIP", item.sourceIP);
  io.String("subject", item.subject);
  io.String("contentType", item.contentType);
  io.Int64("when", item.when);
  io.String("senderConnection", item.senderConnection);
  io.String("senderEmail", item.senderEmail);
  io.StringList("recipientConnections", item.recipientConnections);
  io.StringList("recipientEmails", item.recipientEmails);
  Int32Field(io, "antivirusReason", item.antivirusReason);
  io.UInt32("antivirusStatus", item.antivirusStatus);
  io.String("antivirusDetected", item.antivirusDetected);
  io.String("antivirusFile", item.antivirusFile);
  io.String("attachmentDetected", item.attachmentDetected);
  io.Structure("mainPart", item.mainPart, PartFields{});
}

// Writes `text` to `path`, replacing any file there; the Win32 code.
uint32_t WriteFileText(const kel::StringW& path, const std::string& text) {
  HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return GetLastError();
  DWORD written = 0;
  const BOOL ok = WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  const uint32_t code = ok ? 0 : GetLastError();
  CloseHandle(file);
  return code;
}

std::vector<kel::StringW> Ids(const kel::IList<kel::StringW>& ids) { return ReadListSlots(ids); }

// ---- the store's face ----

class QuarantinePlugin final : public ReferencePlugin, public IQuarantine {
 public:
  QuarantinePlugin() : store_(NewQuarantineStore()) {}

  const wchar_t* ComponentName() const override { return quarantine::kComponentName; }
  void* Interface(const kel::InterfaceId& iid) override { return QueryInterface(&iid); }
  void* QueryInterface(const kel::InterfaceId* iid) override {
    if (iid == nullptr) return nullptr;
    if (*iid == IID_IKelBaseInterface || *iid == quarantine::IID_IQuarantine)
      return static_cast<IQuarantine*>(this);
    return nullptr;
  }

  // "itemsAdded": {"zone": 0 or 1, "items": [DataEx in field names]}.
  NotifyOutcome Notify(const std::string& notification, const Json::Value& data) override {
    if (notification != "itemsAdded") {
      return NotifyOutcome::Failed(
          "unknown notification",
          "MailServers.Quarantine has no notification \"" + notification + "\"");
    }
    uint32_t zone = 0;
    kel::List<DataEx> items;
    StructureReader reader(data, "itemsAdded");
    reader.UInt32("zone", zone);
    reader.List("items", items, ItemFields);
    std::string problem;
    if (!reader.Finish(problem)) return NotifyOutcome::Failed("bad data", problem);
    if (zone > quarantine::kZoneFiles)
      return NotifyOutcome::Failed("bad data", "itemsAdded.zone must be 0 or 1");
    std::vector<DataEx> added(items.begin(), items.end());
    NotifyOutcome outcome;
    outcome.delivered = static_cast<uint32_t>(store_->sinks().Snapshot().size());
    store_->Add(zone, std::move(added));
    return outcome;
  }

  uint32_t GetFolder(quarantine::Zone zone, kel::StringW& folder) override {
    return Guarded([&] { return store_->GetFolder(zone, folder); });
  }
  uint32_t SetFolder(quarantine::Zone zone, const kel::StringW& folder, uint8_t migrate) override {
    return Guarded([&] { return store_->SetFolder(zone, folder, migrate != 0); });
  }
  uint32_t DeleteItems(quarantine::Zone zone, const kel::List<kel::StringW>& ids,
                       const kel::StringW& context, kel::List<Error>& errors) override {
    return Guarded([&] {
      std::vector<Error> failed;
      if (const uint32_t code = store_->Delete(zone, Ids(ids), context, failed)) return code;
      return FillErrors(errors, failed);
    });
  }
  uint32_t SaveItem(quarantine::Zone zone, const kel::StringW& id, const kel::StringW& filePath,
                    uint8_t deleteAfterSave) override {
    return Guarded([&] { return Save(zone, id, filePath, deleteAfterSave != 0); });
  }
  uint32_t SaveItemsToFolder(quarantine::Zone zone, const kel::List<kel::StringW>& ids,
                             const kel::StringW& folder, uint8_t deleteAfterSave,
                             kel::List<SavedItem>& saved) override {
    return Guarded([&] {
      kel::StringW unused;
      if (const uint32_t code = store_->GetFolder(zone, unused)) return code;
      saved.RemoveAll();
      for (const kel::StringW& id : Ids(ids)) {
        SavedItem item;
        item.id = id;
        item.filePath =
            kel::StringW((std::wstring(folder.c_str()) + L"\\" + id.c_str() + L".eml").c_str());
        item.error = static_cast<int32_t>(Save(zone, id, item.filePath, deleteAfterSave != 0));
        if (const uint32_t code = saved.AddBack(item)) return code;
      }
      return uint32_t{0};
    });
  }
  uint32_t GetItem(quarantine::Zone zone, const kel::StringW& id, Data& item) override {
    return Guarded([&] {
      DataEx stored;
      if (!store_->Find(zone, id, stored)) return Missing(zone);
      CopyData(stored, item);
      return uint32_t{0};
    });
  }
  uint32_t GetItemEx(quarantine::Zone zone, const kel::StringW& id, DataEx& item) override {
    return Guarded([&] {
      DataEx stored;
      if (!store_->Find(zone, id, stored)) return Missing(zone);
      CopyDataEx(stored, item);
      return uint32_t{0};
    });
  }
  uint32_t GetItems(quarantine::Zone zone, uint32_t from, uint32_t count, uint64_t& totalCount,
                    kel::List<Data>& items) override {
    return Guarded([&] {
      std::vector<DataEx> page;
      if (const uint32_t code = store_->Page(zone, from, count, totalCount, page)) return code;
      return FillItems<Data>(items, page);
    });
  }
  uint32_t GetItemsEx(quarantine::Zone zone, uint32_t from, uint32_t count, uint64_t& totalCount,
                      kel::List<DataEx>& items) override {
    return Guarded([&] {
      std::vector<DataEx> page;
      if (const uint32_t code = store_->Page(zone, from, count, totalCount, page)) return code;
      return FillItems<DataEx>(items, page);
    });
  }
  uint32_t GetItemIds(quarantine::Zone zone, uint32_t from, uint32_t count, uint64_t& totalCount,
                      kel::List<kel::StringW>& ids) override {
    return Guarded([&] {
      std::vector<DataEx> page;
      if (const uint32_t code = store_->Page(zone, from, count, totalCount, page)) return code;
      ids.RemoveAll();
      for (const DataEx& item : page) {
        if (const uint32_t code = ids.AddBack(item.id)) return code;
      }
      return uint32_t{0};
    });
  }
  uint32_t GetItemsById(quarantine::Zone zone, const kel::List<kel::StringW>& ids,
                        kel::List<Data>& items, kel::List<Error>& errors) override {
    return Guarded([&] { return ById<Data>(zone, ids, items, errors); });
  }
  uint32_t GetItemsByIdEx(quarantine::Zone zone, const kel::List<kel::StringW>& ids,
                          kel::List<DataEx>& items, kel::List<Error>& errors) override {
    return Guarded([&] { return ById<DataEx>(zone, ids, items, errors); });
  }
  uint32_t Empty(quarantine::Zone zone) override {
    return Guarded([&] { return store_->Empty(zone); });
  }
  uint32_t SetPurgeSettings(quarantine::Zone zone,
                            const quarantine::PurgeSettings& settings) override {
    return Guarded([&] { return store_->SetPurgeSettings(zone, settings); });
  }
  uint32_t GetPurgeSettings(quarantine::Zone zone, quarantine::PurgeSettings& settings) override {
    return Guarded([&] { return store_->GetPurgeSettings(zone, settings); });
  }
  uint32_t Purge(quarantine::Zone zone, const quarantine::PurgeSettings& settings) override {
    return Guarded([&] { return store_->Purge(zone, settings); });
  }
  uint32_t RegisterNotifications(INotifications* sink, void* reserved) override {
    if (reserved != nullptr) return kPluginBadArgument;
    return Guarded([&] { return store_->sinks().Add(sink); });
  }
  uint32_t UnregisterNotifications(INotifications* sink, void* reserved) override {
    if (reserved != nullptr) return kPluginBadArgument;
    return Guarded([&] { return store_->sinks().Remove(sink); });
  }

 private:
  // 87 for a zone that does not exist, 1168 for an id the zone lacks.
  uint32_t Missing(uint32_t zone) {
    kel::StringW unused;
    if (const uint32_t code = store_->GetFolder(zone, unused)) return code;
    return kPluginNotAdvised;
  }

  uint32_t Save(uint32_t zone, const kel::StringW& id, const kel::StringW& path, bool remove) {
    DataEx item;
    if (!store_->Find(zone, id, item)) return Missing(zone);
    if (const uint32_t code = WriteFileText(path, QuarantineStore::MimeText(item))) return code;
    if (!remove) return 0;
    std::vector<Error> failed;
    return store_->Delete(zone, {id}, kel::StringW(), failed);
  }

  static uint32_t FillErrors(kel::IList<Error>& errors, const std::vector<Error>& failed) {
    errors.RemoveAll();
    for (const Error& error : failed) {
      if (const uint32_t code = errors.AddBack(error)) return code;
    }
    return 0;
  }

  template <class Item>
  uint32_t ById(uint32_t zone, const kel::List<kel::StringW>& ids, kel::List<Item>& items,
                kel::List<Error>& errors) {
    kel::StringW unused;
    if (const uint32_t code = store_->GetFolder(zone, unused)) return code;
    std::vector<DataEx> found;
    std::vector<Error> failed;
    for (const kel::StringW& id : Ids(ids)) {
      DataEx item;
      if (store_->Find(zone, id, item)) {
        found.push_back(std::move(item));
      } else {
        Error error;
        error.id = id;
        error.error = static_cast<int32_t>(kPluginNotAdvised);
        failed.push_back(error);
      }
    }
    if (const uint32_t code = FillItems<Item>(items, found)) return code;
    return FillErrors(errors, failed);
  }

  std::shared_ptr<QuarantineStore> store_;
};

// ---- the release service ----

Json::Value Strings(const kel::List<kel::StringW>& list) { return StringListToJson(list); }

class ReleaseEmailPlugin final : public ReferencePlugin, public IReleaseEmail {
 public:
  ReleaseEmailPlugin() : store_(LatestQuarantineStore()) {}

  const wchar_t* ComponentName() const override { return quarantine::kReleaseEmailComponentName; }
  void* Interface(const kel::InterfaceId& iid) override { return QueryInterface(&iid); }
  void* QueryInterface(const kel::InterfaceId* iid) override {
    if (iid == nullptr) return nullptr;
    if (*iid == IID_IKelBaseInterface || *iid == quarantine::IID_IReleaseEmail)
      return static_cast<IReleaseEmail*>(this);
    return nullptr;
  }

  NotifyOutcome Notify(const std::string& notification, const Json::Value&) override {
    return NotifyOutcome::Failed(
        "unknown notification",
        "MailServers.Quarantine.ReleaseEmail raises its notifications itself, not \"" +
            notification + "\"");
  }

  Json::Value Recorded() const override {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
  }
  size_t RecordedCount() const override {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_.size();
  }

  uint32_t ReleaseEmails(const kel::List<kel::StringW>& ids,
                         const quarantine::ReleaseSettings& settings,
                         const kel::StringW& context) override {
    if (const uint32_t code = Failure()) return code;
    try {
      Json::Value request(Json::objectValue);
      request["op"] = "release";
      request["ids"] = Strings(ids);
      request["user"] = StringToJson(settings.user);
      request["password"] = StringToJson(settings.password);
      request["subject"] = StringToJson(settings.subject);
      request["message"] = StringToJson(settings.message);
      request["email"] = StringToJson(settings.email);
      request["exclusionKeys"] = Strings(settings.exclusionKeys);
      request["excludeLocalKeys"] = settings.excludeLocalKeys != 0;
      request["excludeDomainKeys"] = settings.excludeDomainKeys != 0;
      request["recipients"] = Strings(settings.recipients);
      request["sendToOriginalRecipients"] = settings.sendToOriginalRecipients != 0;
      request["context"] = StringToJson(context);
      Record(std::move(request));
      // Released mail stays in the quarantine: the console deletes it if it wants.
      kel::List<RestoredItem> outcome = Outcome(ids, false);
      const auto sinks = sinks_.Snapshot();
      DeliverOnPluginThread([&] {
        for (INotifications* sink : sinks) sink->OnReleaseFinished(context, outcome);
      });
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t ReplayEmails(const kel::List<kel::StringW>& ids, uint8_t deleteFromQuarantine,
                        const kel::List<kel::StringW>& exclusionKeys, uint8_t excludeLocalKeys,
                        uint8_t excludeDomainKeys, const kel::StringW& context) override {
    if (const uint32_t code = Failure()) return code;
    try {
      Json::Value request(Json::objectValue);
      request["op"] = "replay";
      request["ids"] = Strings(ids);
      request["deleteFromQuarantine"] = deleteFromQuarantine != 0;
      request["exclusionKeys"] = Strings(exclusionKeys);
      request["excludeLocalKeys"] = excludeLocalKeys != 0;
      request["excludeDomainKeys"] = excludeDomainKeys != 0;
      request["context"] = StringToJson(context);
      Record(std::move(request));
      kel::List<RestoredItem> outcome = Outcome(ids, deleteFromQuarantine != 0);
      if (deleteFromQuarantine) {
        std::vector<kel::StringW> replayed;
        for (const RestoredItem& item : outcome)
          if (item.deleted) replayed.push_back(item.id);
        std::vector<IQuarantine::Error> failed;
        if (!replayed.empty()) store_->Delete(quarantine::kZoneEmails, replayed, context, failed);
      }
      const auto sinks = sinks_.Snapshot();
      DeliverOnPluginThread([&] {
        for (INotifications* sink : sinks) sink->OnReplayFinished(context, outcome);
      });
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t RegisterNotifications(INotifications* sink) override {
    return Guarded([&] { return sinks_.Add(sink); });
  }
  uint32_t UnregisterNotifications(INotifications* sink) override {
    return Guarded([&] { return sinks_.Remove(sink); });
  }

 private:
  void Record(Json::Value request) {
    std::lock_guard<std::mutex> lock(mutex_);
    requests_.append(std::move(request));
  }

  // One entry per id, from the e-mails zone: 1168 for an id it lacks.
  kel::List<RestoredItem> Outcome(const kel::List<kel::StringW>& ids, bool deleting) {
    kel::List<RestoredItem> outcome;
    for (const kel::StringW& id : ReadListSlots(ids)) {
      RestoredItem& item = outcome.EmplaceBack();
      item.id = id;
      DataEx unused;
      const bool held = store_->Find(quarantine::kZoneEmails, id, unused);
      item.error = held ? 0 : static_cast<int32_t>(kPluginNotAdvised);
      item.deleted = held && deleting ? 1 : 0;
    }
    return outcome;
  }

  std::shared_ptr<QuarantineStore> store_;
  SinkSet<INotifications> sinks_;
  mutable std::mutex mutex_;
  Json::Value requests_{Json::arrayValue};
};

}  // namespace

std::unique_ptr<ReferencePlugin> MakeQuarantinePlugin() {
  return std::make_unique<QuarantinePlugin>();
}
std::unique_ptr<ReferencePlugin> MakeReleaseEmailPlugin() {
  return std::make_unique<ReleaseEmailPlugin>();
}

}  // namespace kelhost
