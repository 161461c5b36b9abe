// "MailServers.Groups": directory groups (sdk/mailservers/groups.h), kept in
// memory, synchronised from the directory a script gives with the plugin op's
// "directory" member: {DN: [addresses], ...}. DNs are matched ignoring case,
// as a directory matches them; a DN the directory lacks fails that group with
// 1168 and the run goes on.
//
// Ids are assigned in sequence, 6b1e0000-0000-4000-8000-000000000001 for the
// first group added, and so on, so that a script can name the groups it made.
#include <atomic>
#include <cstdint>
#include <ctime>
#include <cwctype>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/plugins/reference_plugin.h"
#include "frame/text_convert.h"
#include "sdk/kel_base_interface.h"
#include "sdk/mailservers/groups.h"

namespace kelhost {
namespace {

using kel::nusdk::MailServers::Groups::Group;
using kel::nusdk::MailServers::Groups::GroupInfo;
using kel::nusdk::MailServers::Groups::GroupSettings;
using kel::nusdk::MailServers::Groups::GroupSyncInfo;
using kel::nusdk::MailServers::Groups::GroupSyncResult;
using kel::nusdk::MailServers::Groups::IGroups;
using kel::nusdk::MailServers::Groups::SyncResult;
using kel::nusdk::MailServers::Groups::SyncStatus;
using kel::nusdk::MailServers::Groups::SyncSummary;
using Sink = IGroups::INotifications;

constexpr uint32_t kNotSupported = 50;       // ERROR_NOT_SUPPORTED
constexpr uint32_t kBusy = 170;              // ERROR_BUSY
constexpr uint32_t kAlreadyExists = 183;     // ERROR_ALREADY_EXISTS
constexpr uint32_t kServiceStopping = 1067;  // ERROR_PROCESS_ABORTED: the plug-in is going away
constexpr uint32_t kNotFound = 1168;         // ERROR_NOT_FOUND
constexpr uint64_t kIdHigh = 0x6b1e000000004000ull;
constexpr uint64_t kIdLow = 0x8000000000000000ull;

bool SameText(const std::wstring& a, const std::wstring& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::towlower(a[i]) != std::towlower(b[i])) return false;
  }
  return true;
}

std::wstring Text(const kel::StringW& text) { return std::wstring(text.c_str(), text.Length()); }

int64_t Now() { return static_cast<int64_t>(std::time(nullptr)); }

// Reads a list handed over by the module through its slots only.
template <class T>
std::vector<T> ReadSlots(const kel::IList<T>& list) {
  std::vector<T> items;
  kel::EnumPtr<kel::IConstListEnum<T>> e(list.NewConstEnum());
  if (!e) return items;
  for (; e->HasCurrent(); e->Advance()) items.push_back(*e->Current());
  return items;
}

struct StoredGroup {
  kel::Guid id;
  std::wstring name;
  std::wstring description;
  uint32_t kind = kel::nusdk::MailServers::Groups::kGroupLocal;
  std::wstring dn;
  std::vector<std::wstring> members;
  SyncResult lastSync;

  void AddMember(const std::wstring& address) {
    for (const std::wstring& member : members) {
      if (SameText(member, address)) return;
    }
    members.push_back(address);
  }
};

class GroupsPlugin final : public ReferencePlugin, public IGroups {
 public:
  ~GroupsPlugin() override {
    stopping_.store(true);
    std::lock_guard<std::mutex> runs(runMutex_);
    if (worker_.joinable()) worker_.join();
  }

  const wchar_t* ComponentName() const override {
    return kel::nusdk::MailServers::Groups::kComponentName;
  }
  void* Interface(const kel::InterfaceId& iid) override { return QueryInterface(&iid); }
  void* QueryInterface(const kel::InterfaceId* iid) override {
    if (iid == nullptr) return nullptr;
    if (*iid == IID_IKelBaseInterface || *iid == kel::nusdk::MailServers::Groups::IID_IGroups) {
      return static_cast<IGroups*>(this);
    }
    return nullptr;
  }

  NotifyOutcome Notify(const std::string& notification, const Json::Value&) override {
    // Its notifications come from its own synchronisation runs only.
    return NotifyOutcome::Failed(
        "unknown notification",
        "MailServers.Groups raises its notifications itself, when it synchronises; there is no \"" +
            notification + "\" to raise");
  }

  bool SetDirectory(const Json::Value& directory, std::string& problem) override {
    if (!directory.isObject()) {
      problem = "\"directory\" must be an object of DN: [addresses]";
      return false;
    }
    Directory read;
    for (auto it = directory.begin(); it != directory.end(); ++it) {
      const std::string dn = it.name();
      const std::string path = "directory[\"" + dn + "\"]";
      if (!it->isArray()) {
        problem = path + " must be an array of addresses";
        return false;
      }
      std::vector<std::wstring> members;
      for (Json::ArrayIndex i = 0; i < it->size(); ++i) {
        const Json::Value& address = (*it)[i];
        if (!address.isString()) {
          problem = path + "[" + std::to_string(i) + "] must be a string";
          return false;
        }
        members.push_back(kel::WideFromUtf8(address.asString()));
      }
      read.emplace_back(kel::WideFromUtf8(dn), std::move(members));
    }
    std::lock_guard<std::mutex> lock(mutex_);
    directory_ = std::move(read);
    return true;
  }

  uint32_t AddGroup(const GroupSettings& settings, const kel::List<kel::StringW>& members,
                    kel::Guid& id) override {
    if (const uint32_t code = Failure()) return code;
    try {
      StoredGroup group;
      if (const uint32_t code = Apply(settings, group)) return code;
      if (group.kind != kel::nusdk::MailServers::Groups::kGroupLocal && members.Count() != 0) {
        return kPluginBadArgument;
      }
      for (const kel::StringW& address : ReadSlots(members)) group.AddMember(Text(address));
      std::lock_guard<std::mutex> lock(mutex_);
      if (NameTaken(group.name, nullptr)) return kAlreadyExists;
      group.id = kel::Guid{kIdLow | nextId_++, kIdHigh};
      id = group.id;
      groups_.push_back(std::move(group));
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t UpdateGroup(const kel::Guid& id, const GroupSettings& settings) override {
    if (const uint32_t code = Failure()) return code;
    try {
      StoredGroup changed;
      if (const uint32_t code = Apply(settings, changed)) return code;
      std::lock_guard<std::mutex> lock(mutex_);
      StoredGroup* group = Find(id);
      if (group == nullptr) return kNotFound;
      if (NameTaken(changed.name, group)) return kAlreadyExists;
      const bool linked = changed.kind == kel::nusdk::MailServers::Groups::kGroupDirectory;
      // Members read from one directory group say nothing of another: a group
      // linked anew waits for its next synchronisation. A group unlinked keeps
      // what it had, now as its own members.
      if (linked && (group->kind != changed.kind || !SameText(group->dn, changed.dn))) {
        group->members.clear();
        group->lastSync = SyncResult();
      }
      if (!linked) group->lastSync = SyncResult();
      group->name = std::move(changed.name);
      group->description = std::move(changed.description);
      group->kind = changed.kind;
      group->dn = std::move(changed.dn);
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t DeleteGroup(const kel::Guid& id) override {
    if (const uint32_t code = Failure()) return code;
    try {
      std::lock_guard<std::mutex> lock(mutex_);
      for (auto it = groups_.begin(); it != groups_.end(); ++it) {
        if (it->id == id) {
          groups_.erase(it);
          return 0;
        }
      }
      return kNotFound;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t GetGroup(const kel::Guid& id, Group& group) override {
    if (const uint32_t code = Failure()) return code;
    try {
      std::lock_guard<std::mutex> lock(mutex_);
      const StoredGroup* stored = Find(id);
      if (stored == nullptr) return kNotFound;
      Describe(*stored, group);
      group.members.RemoveAll();
      for (const std::wstring& member : stored->members) {
        if (const uint32_t code = group.members.AddBack(kel::StringW(member))) return code;
      }
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t GetGroups(uint32_t from, uint32_t count, uint64_t& totalCount,
                     kel::List<GroupInfo>& groups) override {
    if (const uint32_t code = Failure()) return code;
    try {
      std::lock_guard<std::mutex> lock(mutex_);
      totalCount = groups_.size();
      groups.RemoveAll();
      for (size_t i = from; i < groups_.size() && i - from < count; ++i) {
        GroupInfo info;
        Describe(groups_[i], info);
        if (const uint32_t code = groups.AddBack(info)) return code;
      }
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t AddMembers(const kel::Guid& id, const kel::List<kel::StringW>& members) override {
    return ChangeMembers(id, members, [](StoredGroup& group, const std::wstring& address) {
      group.AddMember(address);
    });
  }

  uint32_t RemoveMembers(const kel::Guid& id, const kel::List<kel::StringW>& members) override {
    return ChangeMembers(id, members, [](StoredGroup& group, const std::wstring& address) {
      for (auto it = group.members.begin(); it != group.members.end(); ++it) {
        if (SameText(*it, address)) {
          group.members.erase(it);
          return;
        }
      }
    });
  }

  uint32_t Synchronize(const kel::List<kel::Guid>& ids) override {
    if (const uint32_t code = Failure()) return code;
    try {
      std::lock_guard<std::mutex> runs(runMutex_);
      std::vector<kel::Guid> plan;
      {
        std::lock_guard<std::mutex> lock(mutex_);
        if (status_.running) return kBusy;
        if (ids.Count() == 0) {
          for (const StoredGroup& group : groups_) {
            if (group.kind == kel::nusdk::MailServers::Groups::kGroupDirectory) {
              plan.push_back(group.id);
            }
          }
        } else {
          for (const kel::Guid& id : ReadSlots(ids)) {
            const StoredGroup* group = Find(id);
            if (group == nullptr) return kNotFound;
            if (group->kind != kel::nusdk::MailServers::Groups::kGroupDirectory) {
              return kNotSupported;
            }
            bool listed = false;
            for (const kel::Guid& planned : plan) listed = listed || planned == id;
            if (!listed) plan.push_back(id);
          }
        }
        status_ = SyncStatus();
        status_.running = 1;
        status_.started = Now();
        status_.groups = static_cast<uint32_t>(plan.size());
      }
      // The previous run has finished its work but may still be telling its
      // sinks so; the next one starts only after it, so runs never interleave.
      if (worker_.joinable()) worker_.join();
      worker_ = std::thread([this, plan] { Run(plan); });
      return 0;
    } catch (...) {
      std::lock_guard<std::mutex> lock(mutex_);
      status_.running = 0;
      return kPluginInternalError;
    }
  }

  uint32_t GetSyncStatus(SyncStatus& status) override {
    if (const uint32_t code = Failure()) return code;
    try {
      std::lock_guard<std::mutex> lock(mutex_);
      status = status_;
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  uint32_t RegisterNotifications(Sink* sink) override {
    return Guarded([&] { return sinks_.Add(sink); });
  }

  uint32_t UnregisterNotifications(Sink* sink) override {
    if (const uint32_t code = Failure()) return code;
    try {
      // Waits for a notification in progress: the sink's owner may go away
      // as soon as this returns.
      std::lock_guard<std::mutex> delivering(deliverMutex_);
      return sinks_.Remove(sink);
    } catch (...) {
      return kPluginInternalError;
    }
  }

 private:
  using Directory = std::vector<std::pair<std::wstring, std::vector<std::wstring>>>;

  // The settings checked as the plug-in's own contract asks, into `group`.
  static uint32_t Apply(const GroupSettings& settings, StoredGroup& group) {
    group.name = Text(settings.name);
    group.description = Text(settings.description);
    group.kind = settings.kind;
    group.dn = Text(settings.directoryDn);
    const bool linked = group.kind == kel::nusdk::MailServers::Groups::kGroupDirectory;
    if (group.name.empty() || group.kind > kel::nusdk::MailServers::Groups::kGroupDirectory ||
        linked == group.dn.empty()) {
      return kPluginBadArgument;
    }
    return 0;
  }

  static void Describe(const StoredGroup& stored, GroupInfo& info) {
    info.id = stored.id;
    info.name = kel::StringW(stored.name);
    info.description = kel::StringW(stored.description);
    info.kind = stored.kind;
    info.directoryDn = kel::StringW(stored.dn);
    info.memberCount = static_cast<uint32_t>(stored.members.size());
    info.lastSync = stored.lastSync;
  }

  // Under mutex_.
  StoredGroup* Find(const kel::Guid& id) {
    for (StoredGroup& group : groups_) {
      if (group.id == id) return &group;
    }
    return nullptr;
  }
  bool NameTaken(const std::wstring& name, const StoredGroup* except) const {
    for (const StoredGroup& group : groups_) {
      if (&group != except && SameText(group.name, name)) return true;
    }
    return false;
  }
  const std::vector<std::wstring>* Lookup(const std::wstring& dn) const {
    for (const auto& entry : directory_) {
      if (SameText(entry.first, dn)) return &entry.second;
    }
    return nullptr;
  }

  template <class Change>
  uint32_t ChangeMembers(const kel::Guid& id, const kel::List<kel::StringW>& members,
                         Change change) {
    if (const uint32_t code = Failure()) return code;
    try {
      const std::vector<kel::StringW> addresses = ReadSlots(members);
      std::lock_guard<std::mutex> lock(mutex_);
      StoredGroup* group = Find(id);
      if (group == nullptr) return kNotFound;
      if (group->kind != kel::nusdk::MailServers::Groups::kGroupLocal) return kNotSupported;
      for (const kel::StringW& address : addresses) change(*group, Text(address));
      return 0;
    } catch (...) {
      return kPluginInternalError;
    }
  }

  // Calls every registered sink, one notification at a time.
  template <class Call>
  void Deliver(Call call) {
    std::lock_guard<std::mutex> delivering(deliverMutex_);
    for (Sink* sink : sinks_.Snapshot()) {
      try {
        call(sink);
      } catch (...) {
        // A sink that breaks its promise not to throw does not stop the run.
      }
    }
  }

  // One run, on the plug-in's thread.
  void Run(const std::vector<kel::Guid>& plan) {
    SyncSummary summary;
    Deliver([&](Sink* sink) { sink->OnSyncStarted(static_cast<uint32_t>(plan.size())); });
    for (const kel::Guid& id : plan) {
      if (stopping_.load()) {
        summary.error = kServiceStopping;
        break;
      }
      GroupSyncResult result;
      result.id = id;
      {
        std::lock_guard<std::mutex> lock(mutex_);
        if (const StoredGroup* group = Find(id)) {
          result.name = kel::StringW(group->name);
          result.directoryDn = kel::StringW(group->dn);
        }
      }
      Deliver([&](Sink* sink) { sink->OnGroupSyncStarted(result); });
      {
        std::lock_guard<std::mutex> lock(mutex_);
        StoredGroup* group = Find(id);
        // Deleted or unlinked since the run started: nothing left to read.
        const std::vector<std::wstring>* members =
            group && group->kind == kel::nusdk::MailServers::Groups::kGroupDirectory
                ? Lookup(group->dn)
                : nullptr;
        result.error = members ? 0 : kNotFound;
        if (group != nullptr) {
          if (members != nullptr) {
            group->members.clear();
            for (const std::wstring& member : *members) group->AddMember(member);
          }
          group->lastSync = SyncResult{Now(), result.error};
          result.members = static_cast<uint32_t>(group->members.size());
        }
        (result.error == 0 ? status_.synchronized : status_.failed) += 1;
      }
      (result.error == 0 ? summary.synchronized : summary.failed) += 1;
      Deliver([&](Sink* sink) { sink->OnGroupSyncFinished(result); });
    }
    {
      // The status is final before the last notification, so that whoever
      // hears the run finish reads it finished.
      std::lock_guard<std::mutex> lock(mutex_);
      status_.running = 0;
      status_.finished = Now();
      status_.error = summary.error;
    }
    Deliver([&](Sink* sink) { sink->OnSyncFinished(summary); });
  }

  std::mutex mutex_;  // groups_, directory_, status_, nextId_
  std::vector<StoredGroup> groups_;
  Directory directory_;
  SyncStatus status_;
  uint64_t nextId_ = 1;

  SinkSet<Sink> sinks_;
  std::mutex deliverMutex_;  // held while a notification is being delivered

  std::mutex runMutex_;  // starting a run, and the worker handle
  std::atomic<bool> stopping_{false};
  std::thread worker_;  // joined by the destructor, before anything it uses goes
};

}  // namespace

std::unique_ptr<ReferencePlugin> MakeGroupsPlugin() { return std::make_unique<GroupsPlugin>(); }

}  // namespace kelhost
