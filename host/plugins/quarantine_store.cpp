#include "host/plugins/quarantine_store.h"

#include <cstring>
#include <ctime>
#include <utility>

#include "frame/text_convert.h"

namespace kelhost {

namespace {

constexpr uint32_t kBadZone = kPluginBadArgument;

using DeletedItem = QuarantineStore::Sink::DeletedItem;

std::string Utf8(const kel::StringW& text) {
  return kel::Utf8FromWide(text.c_str(), text.Length());
}

void AppendPart(const quarantine::DataEx::MailPartInfo& part, const std::string& boundary,
                std::string& out) {
  bool typed = false;
  for (const auto& header : part.headers) {
    out += Utf8(header.name) + ": " + Utf8(header.value) + "\r\n";
    if (_stricmp(Utf8(header.name).c_str(), "Content-Type") == 0) typed = true;
  }
  const std::string childBoundary = boundary + ".1";
  if (!typed && !part.contentType.IsEmpty()) {
    out += "Content-Type: " + Utf8(part.contentType);
    if (!part.childParts.IsEmpty()) out += "; boundary=\"" + childBoundary + "\"";
    out += "\r\n";
  }
  if (!part.name.IsEmpty())
    out += "Content-Disposition: attachment; filename=\"" + Utf8(part.name) + "\"\r\n";
  out += "\r\n" + Utf8(part.body) + "\r\n";
  if (part.childParts.IsEmpty()) return;
  // Depth is bounded by the script's JSON, which jsoncpp reads only so deep.
  int n = 0;
  for (const auto& child : part.childParts) {
    out += "--" + childBoundary + "\r\n";
    AppendPart(child, childBoundary + "." + std::to_string(++n), out);
  }
  out += "--" + childBoundary + "--\r\n";
}

}  // namespace

QuarantineStore::QuarantineStore() {
  zones_[quarantine::kZoneEmails].folder = L"C:\\Quarantine\\Emails";
  zones_[quarantine::kZoneFiles].folder = L"C:\\Quarantine\\Files";
}

uint32_t QuarantineStore::GetFolder(uint32_t zone, kel::StringW& folder) {
  if (!ValidZone(zone)) return kBadZone;
  std::lock_guard<std::mutex> lock(mutex_);
  folder = zones_[zone].folder;
  return 0;
}

uint32_t QuarantineStore::SetFolder(uint32_t zone, const kel::StringW& folder, bool migrate) {
  if (!ValidZone(zone)) return kBadZone;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    zones_[zone].folder = folder;
    // Not migrated: the items stay behind in the old folder, and the zone
    // lists the new one's, which start empty.
    if (!migrate) zones_[zone].items.clear();
  }
  const auto sinks = sinks_.Snapshot();
  DeliverOnPluginThread([&] {
    for (Sink* sink : sinks)
      sink->OnFolderChanged(static_cast<quarantine::Zone>(zone), migrate ? 1 : 0);
  });
  return 0;
}

uint32_t QuarantineStore::Add(uint32_t zone, std::vector<quarantine::DataEx> items) {
  if (!ValidZone(zone)) return kBadZone;
  kel::List<kel::StringW> ids;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    auto& stored = zones_[zone].items;
    for (quarantine::DataEx& item : items) {
      ids.AddBack(item.id);
      bool replaced = false;
      for (quarantine::DataEx& existing : stored) {
        if (existing.id == item.id) {
          existing = std::move(item);
          replaced = true;
          break;
        }
      }
      if (!replaced) stored.push_back(std::move(item));
    }
  }
  const auto sinks = sinks_.Snapshot();
  DeliverOnPluginThread([&] {
    for (Sink* sink : sinks) sink->OnItemsAdded(static_cast<quarantine::Zone>(zone), ids);
  });
  return 0;
}

void QuarantineStore::NotifyDeleted(uint32_t zone, const kel::List<DeletedItem>& deleted) {
  if (deleted.IsEmpty()) return;
  const auto sinks = sinks_.Snapshot();
  DeliverOnPluginThread([&] {
    for (Sink* sink : sinks) sink->OnItemsDeleted(static_cast<quarantine::Zone>(zone), deleted);
  });
}

uint32_t QuarantineStore::Delete(uint32_t zone, const std::vector<kel::StringW>& ids,
                                 const kel::StringW& context,
                                 std::vector<quarantine::IQuarantine::Error>& failed) {
  if (!ValidZone(zone)) return kBadZone;
  kel::List<DeletedItem> deleted;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    auto& stored = zones_[zone].items;
    for (const kel::StringW& id : ids) {
      bool found = false;
      for (auto it = stored.begin(); it != stored.end(); ++it) {
        if (it->id == id) {
          stored.erase(it);
          found = true;
          break;
        }
      }
      if (found) {
        DeletedItem& item = deleted.EmplaceBack();
        item.id = id;
        item.context = context;
      } else {
        quarantine::IQuarantine::Error error;
        error.id = id;
        error.error = static_cast<int32_t>(kPluginNotAdvised);  // 1168, not found
        failed.push_back(error);
      }
    }
  }
  NotifyDeleted(zone, deleted);
  return 0;
}

bool QuarantineStore::Find(uint32_t zone, const kel::StringW& id, quarantine::DataEx& item) {
  if (!ValidZone(zone)) return false;
  std::lock_guard<std::mutex> lock(mutex_);
  for (const quarantine::DataEx& stored : zones_[zone].items) {
    if (stored.id == id) {
      item = stored;
      return true;
    }
  }
  return false;
}

uint32_t QuarantineStore::Page(uint32_t zone, uint32_t from, uint32_t count, uint64_t& total,
                               std::vector<quarantine::DataEx>& items) {
  if (!ValidZone(zone)) return kBadZone;
  std::lock_guard<std::mutex> lock(mutex_);
  const auto& stored = zones_[zone].items;
  total = stored.size();
  for (uint64_t i = from; i < stored.size() && i < uint64_t{from} + count; ++i)
    items.push_back(stored[static_cast<size_t>(i)]);
  return 0;
}

uint32_t QuarantineStore::Empty(uint32_t zone) {
  if (!ValidZone(zone)) return kBadZone;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    zones_[zone].items.clear();
  }
  const auto sinks = sinks_.Snapshot();
  DeliverOnPluginThread([&] {
    for (Sink* sink : sinks) sink->OnEmptied(static_cast<quarantine::Zone>(zone));
  });
  return 0;
}

uint32_t QuarantineStore::SetPurgeSettings(uint32_t zone,
                                           const quarantine::PurgeSettings& settings) {
  if (!ValidZone(zone)) return kBadZone;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    zones_[zone].purge = settings;
  }
  const auto sinks = sinks_.Snapshot();
  DeliverOnPluginThread([&] {
    for (Sink* sink : sinks) sink->OnPurgeSettingsChanged(static_cast<quarantine::Zone>(zone));
  });
  return 0;
}

uint32_t QuarantineStore::GetPurgeSettings(uint32_t zone, quarantine::PurgeSettings& settings) {
  if (!ValidZone(zone)) return kBadZone;
  std::lock_guard<std::mutex> lock(mutex_);
  settings = zones_[zone].purge;
  return 0;
}

uint32_t QuarantineStore::Purge(uint32_t zone, const quarantine::PurgeSettings& settings) {
  if (!ValidZone(zone)) return kBadZone;
  const int64_t now = static_cast<int64_t>(std::time(nullptr));
  kel::List<DeletedItem> deleted;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    auto& stored = zones_[zone].items;
    for (auto it = stored.begin(); it != stored.end();) {
      if (it->when <= now - settings.age) {
        DeletedItem& item = deleted.EmplaceBack();
        item.id = it->id;
        item.context = L"purge";
        it = stored.erase(it);
      } else {
        ++it;
      }
    }
  }
  NotifyDeleted(zone, deleted);
  return 0;
}

std::string QuarantineStore::MimeText(const quarantine::DataEx& item) {
  // The item's own fields stand in for the envelope headers the message
  // lacks; headers the message has are written as it has them.
  auto has = [&item](const char* name) {
    for (const auto& header : item.mainPart.headers)
      if (_stricmp(Utf8(header.name).c_str(), name) == 0) return true;
    return false;
  };
  std::string to;
  for (const kel::StringW& recipient : item.recipientEmails)
    to += (to.empty() ? "" : ", ") + Utf8(recipient);
  std::string out = "X-Quarantine-Id: " + Utf8(item.id) + "\r\n";
  if (!has("Subject")) out += "Subject: " + Utf8(item.subject) + "\r\n";
  if (!has("From")) out += "From: " + Utf8(item.senderEmail) + "\r\n";
  if (!has("To")) out += "To: " + to + "\r\n";
  if (!has("MIME-Version")) out += "MIME-Version: 1.0\r\n";
  AppendPart(item.mainPart, "kelhost", out);
  return out;
}

namespace {
std::mutex g_latestMutex;
std::weak_ptr<QuarantineStore> g_latest;
}  // namespace

std::shared_ptr<QuarantineStore> NewQuarantineStore() {
  auto store = std::make_shared<QuarantineStore>();
  std::lock_guard<std::mutex> lock(g_latestMutex);
  g_latest = store;
  return store;
}

std::shared_ptr<QuarantineStore> LatestQuarantineStore() {
  std::lock_guard<std::mutex> lock(g_latestMutex);
  std::shared_ptr<QuarantineStore> store = g_latest.lock();
  if (!store) {
    store = std::make_shared<QuarantineStore>();
    g_latest = store;
  }
  return store;
}

}  // namespace kelhost
