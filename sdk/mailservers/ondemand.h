#pragma once
// The on-demand mailbox scanning plug-in: a store of scan tasks (what to scan,
// when, with which limits) that it also runs, the credentials it reaches the
// mailboxes with, and the notifications of runs and store changes.
#include <cstdint>

#include "frame/guid.h"
#include "frame/list.h"
#include "frame/string.h"
#include "sdk/kel_base_interface.h"

namespace kel::nusdk::MailServers {

// 5b0e6f3c-8d21-4c7a-a4e9-31d7c2b86f10, this module's SDK's identifier.
constexpr kel::InterfaceId IID_IOnDemand{0x4c7a8d215b0e6f3cull, 0x106fb8c2d731e9a4ull};

inline constexpr wchar_t kOnDemandComponentName[] = L"MailServers.OnDemand";

class IOnDemand : public IKelBaseInterface {
 public:
  // Schedule kind 0 means "never"; the other kinds are the plug-in's own.
  static constexpr int32_t kScheduleNever = 0;
  // StopTask without a limit.
  static constexpr uint32_t kNoTimeout = 0xFFFFFFFFu;

  struct Schedule {
    int32_t type = kScheduleNever;
    int64_t startDate = 0;  // in the plug-in's own unit
    kel::List<kel::StringW> days;
    uint64_t repeatSeconds = 0;
  };

  struct ScanTarget {
    kel::List<kel::StringW> mailboxes;
    kel::List<kel::StringW> databases;
    kel::List<kel::StringW> servers;
    kel::List<kel::StringW> publicFolders;
  };

  // The item kinds a task scans. A task that names none of them scans none.
  struct ScanObjects {
    uint8_t emails = 0;
    uint8_t appointments = 0;
    uint8_t contacts = 0;
    uint8_t tasks = 0;
    uint8_t postItems = 0;
  };

  struct ScanScope {
    ScanTarget target;
    ScanTarget except;
    ScanObjects objects;
  };

  // An absolute time, or with `relative` an offset from the start of the run.
  struct DateLimit {
    int64_t when = 0;
    uint8_t relative = 0;
  };

  static constexpr int64_t kNoLimit = -1;

  struct Restrictions {
    int64_t maxItemSize = kNoLimit;
    uint8_t unreadOnly = 0;
    DateLimit receivedAfter;
    DateLimit receivedBefore;
    uint8_t receivedAfterLastSuccessfullRan = 0;
    uint8_t withAttachmentsOnly = 0;
    int64_t maxScanTime = kNoLimit;
  };

  struct Task {
    kel::Guid id;  // all zero for a task the plug-in has not yet given an id
    kel::StringW name;
    Schedule schedule;
    ScanScope scan;
    Restrictions restrictions;
    kel::StringW reportPath;
  };

  enum TaskState : uint32_t {
    kRunning = 0,
    kStopping = 1,
    kInactive = 2,
  };

  // One run as the plug-in lists it; `context` is the text StartTask was given.
  struct RunInfo {
    kel::Guid id;
    kel::StringW name;
    kel::StringW context;
    TaskState state = kInactive;
    int64_t startTime = 0;
    uint32_t percentageDone = 0;
  };

  enum RunStatus : int32_t {
    kRunError = -1,  // `error` holds the code
    kRunDone = 0,
    kRunInterrupted = 1,
    kRunTimeout = 2,
  };

  // The outcome of one run, delivered with the task-stopped notification.
  struct RunStatistics {
    kel::StringW name;
    int64_t startTime = 0;
    int64_t duration = 0;
    int32_t status = kRunDone;  // a RunStatus, or a value of the plug-in's own
    int32_t error = 0;
    kel::StringW report;  // path of the written report; empty when none
    kel::StringW context;
    uint32_t itemsScanned = 0;
    uint32_t detected = 0;
    uint32_t unscannable = 0;
    uint32_t detectionResolved = 0;
    uint32_t unscannableResolved = 0;
    kel::List<kel::StringW> threats;
  };

  // How the task store changed (TaskChanged).
  enum ChangeType : uint32_t {
    kTaskAdded = 0,
    kTaskModified = 1,
    kTaskReplaced = 2,
    kTaskDeleted = 3,
  };

  // The credentials the plug-in reaches the mailboxes with.
  struct UserInfo {
    kel::StringW user;
    kel::StringW password;
    kel::StringW email;
    kel::StringW exchangeWebServicesURL;
  };

  // Called on the plug-in's threads; the answers are ignored.
  class ITaskEvents {
   public:
    virtual uint32_t OnTaskStarted(const kel::Guid& id, const kel::StringW& context) = 0;      // 0
    virtual uint32_t OnTaskStopped(const kel::Guid& id, const RunStatistics& statistics) = 0;  // 1
    virtual uint32_t OnTaskChanged(const kel::Guid& id, uint32_t changeType) = 0;              // 2
    virtual uint32_t OnTaskProgress(const kel::Guid& id, const kel::StringW& context,
                                    uint32_t percentage) = 0;  // 3

   protected:
    ~ITaskEvents() = default;
  };

  class ISettingsEvents {
   public:
    // Slot 0: the user settings changed; GetUserStatus answers the new state.
    virtual uint32_t OnUserSettingsChanged() = 0;

   protected:
    ~ISettingsEvents() = default;
  };

  virtual uint32_t GetTaskIdList(kel::List<kel::Guid>& ids) = 0;                     // slot 1
  virtual uint32_t GetRunningTasks(kel::List<RunInfo>& tasks) = 0;                   // slot 2
  virtual uint32_t AddTask(const Task& task, kel::Guid& id) = 0;                     // slot 3
  virtual uint32_t UpdateTask(const Task& task) = 0;                                 // slot 4
  virtual uint32_t GetTask(const kel::Guid& id, Task& task) = 0;                     // slot 5
  virtual uint32_t DeleteTask(const kel::Guid& id) = 0;                              // slot 6
  virtual uint32_t DeleteAllTasks() = 0;                                             // slot 7
  virtual uint32_t StartTask(const kel::Guid& id, const kel::StringW& context) = 0;  // slot 8
  virtual uint32_t StopTask(const kel::Guid& id, uint32_t timeoutMs) = 0;            // slot 9
  virtual uint32_t IsTaskRunning(const kel::Guid& id, TaskState& state) = 0;         // slot 10
  virtual uint32_t SetUser(const UserInfo& user) = 0;                                // slot 11
  virtual uint32_t GetUser(UserInfo& user) = 0;                                      // slot 12
  virtual uint32_t GetUserStatus(kel::StringW& user, uint8_t& functioning,
                                 int32_t& error) = 0;  // slot 13
  // Slot 14: an operation of the plug-in that this module never calls.
  virtual uint32_t Reserved14() = 0;
  virtual uint32_t RegisterTaskEvents(ITaskEvents* sink) = 0;          // slot 15
  virtual uint32_t RegisterSettingsEvents(ISettingsEvents* sink) = 0;  // slot 16
  // Slot 17: an operation of the plug-in that this module never calls.
  virtual uint32_t Reserved17() = 0;
  virtual uint32_t UnregisterTaskEvents(ITaskEvents* sink) = 0;          // slot 18
  virtual uint32_t UnregisterSettingsEvents(ISettingsEvents* sink) = 0;  // slot 19

 protected:
  ~IOnDemand() = default;
};

}  // namespace kel::nusdk::MailServers
