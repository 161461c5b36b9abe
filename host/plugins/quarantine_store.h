#pragma once
// The quarantine kelhost keeps: two zones held in memory, shared by the two
// reference plug-ins "MailServers.Quarantine" (the store's own face) and
// "MailServers.Quarantine.ReleaseEmail" (which releases and replays what the
// store holds). Every change raises the store's matching notification on a
// thread of the store's own, after the change and outside its lock.
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host/plugins/reference_plugin.h"
#include "sdk/mailservers/quarantine.h"

namespace kelhost {

namespace quarantine = kel::nusdk::MailServers::Quarantine;

class QuarantineStore {
 public:
  using Sink = quarantine::IQuarantine::INotifications;

  QuarantineStore();

  SinkSet<Sink>& sinks() { return sinks_; }

  // Each answers 87 for a zone other than the two.
  uint32_t GetFolder(uint32_t zone, kel::StringW& folder);
  uint32_t SetFolder(uint32_t zone, const kel::StringW& folder, bool migrate);
  // Adds or replaces (in place) each item; then the items-added notification.
  uint32_t Add(uint32_t zone, std::vector<quarantine::DataEx> items);
  // Removes the ids it holds and notifies them with `context`; `failed`
  // receives the others (1168).
  uint32_t Delete(uint32_t zone, const std::vector<kel::StringW>& ids, const kel::StringW& context,
                  std::vector<quarantine::IQuarantine::Error>& failed);
  // A copy of the item, or false (no such zone or id).
  bool Find(uint32_t zone, const kel::StringW& id, quarantine::DataEx& item);
  // Positions [from, from + count) in insertion order, and the zone's size.
  uint32_t Page(uint32_t zone, uint32_t from, uint32_t count, uint64_t& total,
                std::vector<quarantine::DataEx>& items);
  uint32_t Empty(uint32_t zone);
  uint32_t SetPurgeSettings(uint32_t zone, const quarantine::PurgeSettings& settings);
  uint32_t GetPurgeSettings(uint32_t zone, quarantine::PurgeSettings& settings);
  // Deletes every item whose "when" (seconds since 1970) plus the settings'
  // age is not after now; the deleted are notified with the context "purge".
  uint32_t Purge(uint32_t zone, const quarantine::PurgeSettings& settings);

  // The readable MIME text of an item, as SaveItem writes it.
  static std::string MimeText(const quarantine::DataEx& item);

 private:
  struct Zone {
    kel::StringW folder;
    std::vector<quarantine::DataEx> items;  // insertion order
    quarantine::PurgeSettings purge;
  };

  static bool ValidZone(uint32_t zone) { return zone <= quarantine::kZoneFiles; }
  void NotifyDeleted(uint32_t zone, const kel::List<Sink::DeletedItem>& deleted);

  std::mutex mutex_;
  Zone zones_[2];
  SinkSet<Sink> sinks_;
};

// A fresh store, which the release plug-in made next in the same host will
// share; LatestQuarantineStore answers it (or a fresh one if none lives).
std::shared_ptr<QuarantineStore> NewQuarantineStore();
std::shared_ptr<QuarantineStore> LatestQuarantineStore();

}  // namespace kelhost
