#pragma once
// The directory groups plug-in (component "MailServers.Groups"): named sets
// of mail addresses that transport rules refer to. A local group keeps the
// members it is given; a directory group is linked to a group of the
// organisation's directory by its distinguished name, and its members are
// what the last synchronisation read there.
//
// Every operation answers a Win32 code, 0 for success. Structures and lists
// handed in are the caller's and are read only; lists handed out for filling
// are the caller's too: the plug-in empties them (RemoveAll) and fills them
// through their slots (AddBack). A plug-in keeps no reference to any of them
// after it returns.
//
// Codes the plug-in answers with beside its own:
//   1168 (ERROR_NOT_FOUND)       no group has the id
//   183  (ERROR_ALREADY_EXISTS)  another group has the name (names compare
//                                ignoring case)
//   50   (ERROR_NOT_SUPPORTED)   member changes on a directory group, or a
//                                local group named for synchronisation
//   170  (ERROR_BUSY)            a synchronisation is already running
//
// Synchronisation runs on the plug-in's own thread. Its notifications come in
// this order: OnSyncStarted; then, per group, OnGroupSyncStarted and
// OnGroupSyncFinished; then OnSyncFinished. A group whose synchronisation
// fails keeps its former members, and the run goes on with the next group.
#include <cstdint>

#include "frame/guid.h"
#include "frame/list.h"
#include "frame/string.h"
#include "sdk/kel_base_interface.h"

namespace kel::nusdk::MailServers::Groups {

// 5a0c7e93-2d4f-4c1b-8e6a-9f3b1d7c2e40, this module's SDK's identifiers.
constexpr kel::InterfaceId IID_IGroups{0x4c1b2d4f5a0c7e93ull, 0x402e7c1d3b9f6a8eull};
// 3e9b4f21-7a6c-4d05-b1e8-2c5f0a9d6b73: the synchronisation sink's face.
constexpr kel::InterfaceId IID_IGroupsNotifications{0x4d057a6c3e9b4f21ull, 0x736b9d0a5f2ce8b1ull};

inline constexpr wchar_t kComponentName[] = L"MailServers.Groups";

enum GroupKind : uint32_t {
  kGroupLocal = 0,      // members kept as given
  kGroupDirectory = 1,  // members read from the directory group `directoryDn`
};

// What the console sets of a group.
struct GroupSettings {
  kel::StringW name;  // unique, ignoring case
  kel::StringW description;
  uint32_t kind = kGroupLocal;  // GroupKind
  kel::StringW directoryDn;     // directory groups only; empty for local ones
};

// How a directory group's last synchronisation ended. Times are seconds since
// 1970-01-01 UTC.
struct SyncResult {
  int64_t time = 0;    // 0: never synchronised
  uint32_t error = 0;  // 0, or why the group kept its former members
};

// A group without its members, as a page of groups lists it.
struct GroupInfo : GroupSettings {
  kel::Guid id;  // assigned by the plug-in
  uint32_t memberCount = 0;
  SyncResult lastSync;  // directory groups only
};

struct Group : GroupInfo {
  kel::List<kel::StringW> members;  // addresses, in the order they joined
};

// The state of the current synchronisation run, or of the last one.
struct SyncStatus {
  uint8_t running = 0;
  int64_t started = 0;   // 0: no run yet
  int64_t finished = 0;  // 0: running, or no run yet
  uint32_t groups = 0;   // groups the run takes
  uint32_t synchronized = 0;
  uint32_t failed = 0;
  uint32_t error = 0;  // 0 unless the run itself stopped short
};

// A directory group as a run meets it.
struct GroupSyncInfo {
  kel::Guid id;
  kel::StringW name;
  kel::StringW directoryDn;
};

struct GroupSyncResult : GroupSyncInfo {
  uint32_t error = 0;    // 0, or why the group kept its former members
  uint32_t members = 0;  // the group's member count after its turn
};

struct SyncSummary {
  uint32_t error = 0;  // 0 unless the run itself stopped short
  uint32_t synchronized = 0;
  uint32_t failed = 0;
};

class IGroups : public IKelBaseInterface {
 public:
  // What a synchronisation run tells its registered sinks, on the plug-in's
  // thread. A sink answers 0 and never throws; the structures it is given
  // are valid only during the call.
  class INotifications : public IKelBaseInterface {
   public:
    virtual uint32_t OnSyncStarted(uint32_t groups) = 0;                     // 1
    virtual uint32_t OnGroupSyncStarted(const GroupSyncInfo& group) = 0;     // 2
    virtual uint32_t OnGroupSyncFinished(const GroupSyncResult& group) = 0;  // 3
    virtual uint32_t OnSyncFinished(const SyncSummary& summary) = 0;         // 4

   protected:
    ~INotifications() = default;
  };

  // Slot 1: a new group; `members` only for a local group. `id` receives the
  // identifier the plug-in assigned.
  virtual uint32_t AddGroup(const GroupSettings& settings, const kel::List<kel::StringW>& members,
                            kel::Guid& id) = 0;
  // Slot 2: replaces the group's settings. Members are not touched, except
  // that a group that becomes a directory group, or is linked to another
  // directory group, loses them until its next synchronisation.
  virtual uint32_t UpdateGroup(const kel::Guid& id, const GroupSettings& settings) = 0;
  // Slot 3.
  virtual uint32_t DeleteGroup(const kel::Guid& id) = 0;
  // Slot 4: one group with its members.
  virtual uint32_t GetGroup(const kel::Guid& id, Group& group) = 0;
  // Slot 5: up to `count` groups from position `from`, in the order they were
  // added, and how many groups there are in all.
  virtual uint32_t GetGroups(uint32_t from, uint32_t count, uint64_t& totalCount,
                             kel::List<GroupInfo>& groups) = 0;
  // Slots 6, 7: members of a local group. Adding an address the group has
  // (ignoring case) or removing one it lacks changes nothing.
  virtual uint32_t AddMembers(const kel::Guid& id, const kel::List<kel::StringW>& members) = 0;
  virtual uint32_t RemoveMembers(const kel::Guid& id, const kel::List<kel::StringW>& members) = 0;
  // Slot 8: starts a synchronisation of the listed directory groups, or of
  // every directory group when `ids` is empty, and returns; the run reports
  // through the notifications. Nothing starts when an id is unknown (1168) or
  // names a local group (50).
  virtual uint32_t Synchronize(const kel::List<kel::Guid>& ids) = 0;
  // Slot 9.
  virtual uint32_t GetSyncStatus(SyncStatus& status) = 0;
  // Slots 10, 11: a synchronisation sink. Once unregistering returns, the
  // sink is not called again and no call to it is in progress.
  virtual uint32_t RegisterNotifications(INotifications* sink) = 0;
  virtual uint32_t UnregisterNotifications(INotifications* sink) = 0;

 protected:
  ~IGroups() = default;
};

}  // namespace kel::nusdk::MailServers::Groups
