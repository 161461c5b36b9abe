// "MailServers.OnDemand": the on-demand scanning plug-in
// (sdk/mailservers/ondemand.h). It keeps tasks in memory in the order they
// were added and gives new tasks the ids 00000000-0000-0000-0000-000000000001,
// ...02 and so on. Starting a task marks it running and raises task-started on
// a thread of its own; the script ends runs and reports their progress with
// notifications: "taskStopped" {"id", "statistics"} (the task becomes
// inactive), "progress" {"id", "context", "percentage"}, "taskChanged"
// {"id", "changeType"} and "userSettingsChanged" {"user", "functioning",
// "error"} (GetUserStatus answers these from then on).
#include <ctime>
#include <functional>
#include <iterator>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "host/plugins/reference_plugin.h"
#include "host/plugins/structure_json.h"
#include "sdk/mailservers/ondemand.h"

namespace kelhost {
namespace {

using kel::nusdk::MailServers::IOnDemand;

constexpr uint32_t kTaskNotFound = 1168;  // ERROR_NOT_FOUND
constexpr uint32_t kTaskBusy = 170;       // ERROR_BUSY: started while it runs
constexpr uint32_t kNotSupported = 50;    // ERROR_NOT_SUPPORTED

struct GuidHash {
  size_t operator()(const kel::Guid& id) const noexcept {
    return std::hash<uint64_t>()(id.low ^ (id.high * 0x9E3779B97F4A7C15ull));
  }
};

// Copies a task the way a plug-in compiled elsewhere would: lists through
// their slots.
uint32_t CopyTarget(IOnDemand::ScanTarget& to, const IOnDemand::ScanTarget& from) {
  if (const uint32_t code = WriteListSlots(to.mailboxes, from.mailboxes)) return code;
  if (const uint32_t code = WriteListSlots(to.databases, from.databases)) return code;
  if (const uint32_t code = WriteListSlots(to.servers, from.servers)) return code;
  return WriteListSlots(to.publicFolders, from.publicFolders);
}

uint32_t CopyTask(IOnDemand::Task& to, const IOnDemand::Task& from) {
  to.id = from.id;
  to.name = from.name;
  to.schedule.type = from.schedule.type;
  to.schedule.startDate = from.schedule.startDate;
  to.schedule.repeatSeconds = from.schedule.repeatSeconds;
  if (const uint32_t code = WriteListSlots(to.schedule.days, from.schedule.days)) return code;
  if (const uint32_t code = CopyTarget(to.scan.target, from.scan.target)) return code;
  if (const uint32_t code = CopyTarget(to.scan.except, from.scan.except)) return code;
  to.scan.objects = from.scan.objects;
  to.restrictions = from.restrictions;
  to.reportPath = from.reportPath;
  return 0;
}

int64_t NowUnixSeconds() { return static_cast<int64_t>(std::time(nullptr)); }

class OnDemandPlugin final : public ReferencePlugin, public IOnDemand {
 public:
  const wchar_t* ComponentName() const override {
    return kel::nusdk::MailServers::kOnDemandComponentName;
  }
  void* Interface(const kel::InterfaceId& iid) override { return QueryInterface(&iid); }
  void* QueryInterface(const kel::InterfaceId* iid) override {
    if (iid == nullptr) return nullptr;
    if (*iid == IID_IKelBaseInterface || *iid == kel::nusdk::MailServers::IID_IOnDemand) {
      return static_cast<IOnDemand*>(this);
    }
    return nullptr;
  }

  uint32_t GetTaskIdList(kel::List<kel::Guid>& ids) override {
    return Guarded([&] {
      std::lock_guard<std::mutex> lock(mutex_);
      ids.RemoveAll();
      for (const Entry& entry : order_) {
        if (const uint32_t code = ids.AddBack(entry.task.id)) return code;
      }
      return 0u;
    });
  }

  uint32_t GetRunningTasks(kel::List<RunInfo>& tasks) override {
    return Guarded([&] {
      std::lock_guard<std::mutex> lock(mutex_);
      tasks.RemoveAll();
      for (const Entry& entry : order_) {
        if (entry.state == kInactive) continue;
        RunInfo info;
        info.id = entry.task.id;
        info.name = entry.task.name;
        info.context = entry.context;
        info.state = entry.state;
        info.startTime = entry.startTime;
        info.percentageDone = entry.percentage;
        if (const uint32_t code = tasks.AddBack(info)) return code;
      }
      return 0u;
    });
  }

  uint32_t AddTask(const Task& task, kel::Guid& id) override {
    return Guarded([&] {
      Entry entry;
      if (const uint32_t code = CopyTask(entry.task, task)) return code;
      std::lock_guard<std::mutex> lock(mutex_);
      entry.task.id = kel::Guid{++assigned_, 0};
      id = entry.task.id;
      order_.push_back(std::move(entry));
      index_[id] = std::prev(order_.end());
      return 0u;
    });
  }

  uint32_t UpdateTask(const Task& task) override {
    return Guarded([&] {
      Task copy;
      if (const uint32_t code = CopyTask(copy, task)) return code;
      std::lock_guard<std::mutex> lock(mutex_);
      auto found = index_.find(task.id);
      if (found == index_.end()) return kTaskNotFound;
      found->second->task = std::move(copy);
      return 0u;
    });
  }

  uint32_t GetTask(const kel::Guid& id, Task& task) override {
    return Guarded([&] {
      std::lock_guard<std::mutex> lock(mutex_);
      auto found = index_.find(id);
      if (found == index_.end()) return kTaskNotFound;
      return CopyTask(task, found->second->task);
    });
  }

  uint32_t DeleteTask(const kel::Guid& id) override {
    return Guarded([&] {
      std::lock_guard<std::mutex> lock(mutex_);
      auto found = index_.find(id);
      if (found == index_.end()) return kTaskNotFound;
      order_.erase(found->second);
      index_.erase(found);
      return 0u;
    });
  }

  uint32_t DeleteAllTasks() override {
    return Guarded([&] {
      std::lock_guard<std::mutex> lock(mutex_);
      index_.clear();
      order_.clear();
      return 0u;
    });
  }

  uint32_t StartTask(const kel::Guid& id, const kel::StringW& context) override {
    return Guarded([&] {
      kel::StringW started;
      {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = index_.find(id);
        if (found == index_.end()) return kTaskNotFound;
        Entry& entry = *found->second;
        if (entry.state != kInactive) return kTaskBusy;
        entry.state = kRunning;
        entry.context = context;
        entry.startTime = NowUnixSeconds();
        entry.percentage = 0;
        started = entry.context;
      }
      const std::vector<ITaskEvents*> sinks = taskSinks_.Snapshot();
      DeliverOnPluginThread([&] {
        for (ITaskEvents* sink : sinks) sink->OnTaskStarted(id, started);
      });
      return 0u;
    });
  }

  uint32_t StopTask(const kel::Guid& id, uint32_t) override {
    return Guarded([&] {
      std::lock_guard<std::mutex> lock(mutex_);
      auto found = index_.find(id);
      if (found == index_.end()) return kTaskNotFound;
      // The run ends when the plug-in reports it (the script's taskStopped).
      if (found->second->state == kRunning) found->second->state = kStopping;
      return 0u;
    });
  }

  uint32_t IsTaskRunning(const kel::Guid& id, TaskState& state) override {
    if (const uint32_t code = Failure()) return code;
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = index_.find(id);
    if (found == index_.end()) return kTaskNotFound;
    state = found->second->state;
    return 0;
  }

  uint32_t SetUser(const UserInfo& user) override {
    return Guarded([&] {
      std::lock_guard<std::mutex> lock(mutex_);
      user_.user = user.user;
      user_.password = user.password;
      user_.email = user.email;
      user_.exchangeWebServicesURL = user.exchangeWebServicesURL;
      return 0u;
    });
  }

  uint32_t GetUser(UserInfo& user) override {
    return Guarded([&] {
      std::lock_guard<std::mutex> lock(mutex_);
      user.user = user_.user;
      user.password = user_.password;
      user.email = user_.email;
      user.exchangeWebServicesURL = user_.exchangeWebServicesURL;
      return 0u;
    });
  }

  uint32_t GetUserStatus(kel::StringW& user, uint8_t& functioning, int32_t& error) override {
    return Guarded([&] {
      std::lock_guard<std::mutex> lock(mutex_);
      user = status_.user;
      functioning = static_cast<uint8_t>(status_.functioning ? 1 : 0);
      error = status_.error;
      return 0u;
    });
  }

  uint32_t Reserved14() override { return kNotSupported; }
  uint32_t Reserved17() override { return kNotSupported; }

  uint32_t RegisterTaskEvents(ITaskEvents* sink) override {
    return Guarded([&] { return taskSinks_.Add(sink); });
  }
  uint32_t RegisterSettingsEvents(ISettingsEvents* sink) override {
    return Guarded([&] { return settingsSinks_.Add(sink); });
  }
  uint32_t UnregisterTaskEvents(ITaskEvents* sink) override {
    return Shielded([&] { return taskSinks_.Remove(sink); });
  }
  uint32_t UnregisterSettingsEvents(ISettingsEvents* sink) override {
    return Shielded([&] { return settingsSinks_.Remove(sink); });
  }

  NotifyOutcome Notify(const std::string& notification, const Json::Value& data) override {
    if (notification == "taskStopped") return TaskStopped(data);
    if (notification == "progress") return Progress(data);
    if (notification == "taskChanged") return TaskChanged(data);
    if (notification == "userSettingsChanged") return UserSettingsChanged(data);
    return NotifyOutcome::Failed(
        "unknown notification", "MailServers.OnDemand has no notification \"" + notification +
                                    "\" (taskStopped, progress, taskChanged, userSettingsChanged)");
  }

 private:
  struct Entry {
    Task task;
    TaskState state = kInactive;
    kel::StringW context;  // of the current or last run
    int64_t startTime = 0;
    uint32_t percentage = 0;
  };
  struct UserStatus {
    kel::StringW user;
    bool functioning = false;
    int64_t error = 0;
  };

  // The task a notification names: its "id" must be one the plug-in holds.
  bool FindTask(StructureReader& reader, const char* what, kel::Guid& id, std::string& problem) {
    reader.Guid("id", id);
    if (!reader.Finish(problem)) return false;
    std::lock_guard<std::mutex> lock(mutex_);
    if (index_.count(id) == 0) {
      problem = std::string(what) + ".id names no task of the plug-in";
      return false;
    }
    return true;
  }

  NotifyOutcome TaskStopped(const Json::Value& data) {
    RunStatistics stats;
    kel::Guid id;
    {
      StructureReader peek(data, "taskStopped");
      peek.Guid("id", id);
    }
    {
      std::lock_guard<std::mutex> lock(mutex_);
      auto found = index_.find(id);
      if (found != index_.end()) {
        // What the plug-in knows of the run; the script's statistics add the rest.
        stats.name = found->second->task.name;
        stats.startTime = found->second->startTime;
        stats.context = found->second->context;
        stats.report = found->second->task.reportPath;
      }
    }
    StructureReader reader(data, "taskStopped");
    reader.Structure("statistics", stats, [](StructureReader& io, RunStatistics& s) {
      io.String("name", s.name);
      io.Int64("startTime", s.startTime);
      io.Int64("duration", s.duration);
      int64_t status = s.status, error = s.error;
      io.Int64("status", status);
      io.Int64("error", error);
      s.status = static_cast<int32_t>(status);
      s.error = static_cast<int32_t>(error);
      io.String("report", s.report);
      io.String("context", s.context);
      io.UInt32("itemsScanned", s.itemsScanned);
      io.UInt32("detected", s.detected);
      io.UInt32("unscannable", s.unscannable);
      io.UInt32("detectionResolved", s.detectionResolved);
      io.UInt32("unscannableResolved", s.unscannableResolved);
      io.StringList("threats", s.threats);
    });
    std::string problem;
    if (!FindTask(reader, "taskStopped", id, problem)) {
      return NotifyOutcome::Failed("bad data", problem);
    }
    {
      std::lock_guard<std::mutex> lock(mutex_);
      auto found = index_.find(id);
      if (found != index_.end()) {
        found->second->state = kInactive;
        found->second->percentage = 0;
      }
    }
    return Deliver(taskSinks_, [&](ITaskEvents* sink) { sink->OnTaskStopped(id, stats); });
  }

  NotifyOutcome Progress(const Json::Value& data) {
    kel::Guid id;
    kel::StringW context;
    uint32_t percentage = 0;
    {
      StructureReader peek(data, "progress");
      peek.Guid("id", id);
      std::lock_guard<std::mutex> lock(mutex_);
      auto found = index_.find(id);
      if (found != index_.end()) {
        context = found->second->context;
        percentage = found->second->percentage;
      }
    }
    StructureReader reader(data, "progress");
    reader.String("context", context);
    reader.UInt32("percentage", percentage);
    std::string problem;
    if (!FindTask(reader, "progress", id, problem))
      return NotifyOutcome::Failed("bad data", problem);
    {
      std::lock_guard<std::mutex> lock(mutex_);
      auto found = index_.find(id);
      if (found != index_.end()) found->second->percentage = percentage;
    }
    return Deliver(taskSinks_,
                   [&](ITaskEvents* sink) { sink->OnTaskProgress(id, context, percentage); });
  }

  NotifyOutcome TaskChanged(const Json::Value& data) {
    kel::Guid id;
    uint32_t changeType = 0;
    StructureReader reader(data, "taskChanged");
    reader.Guid("id", id);
    reader.UInt32("changeType", changeType);
    std::string problem;
    if (!reader.Finish(problem)) return NotifyOutcome::Failed("bad data", problem);
    return Deliver(taskSinks_, [&](ITaskEvents* sink) { sink->OnTaskChanged(id, changeType); });
  }

  NotifyOutcome UserSettingsChanged(const Json::Value& data) {
    UserStatus status;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      status = status_;
    }
    StructureReader reader(data, "userSettingsChanged");
    reader.String("user", status.user);
    reader.Bool("functioning", status.functioning);
    reader.Int64("error", status.error);
    std::string problem;
    if (!reader.Finish(problem)) return NotifyOutcome::Failed("bad data", problem);
    {
      std::lock_guard<std::mutex> lock(mutex_);
      status_ = status;
    }
    return Deliver(settingsSinks_, [](ISettingsEvents* sink) { sink->OnUserSettingsChanged(); });
  }

  template <class Sink, class Fn>
  static NotifyOutcome Deliver(const SinkSet<Sink>& sinks, Fn&& call) {
    const std::vector<Sink*> snapshot = sinks.Snapshot();
    DeliverOnPluginThread([&] {
      for (Sink* sink : snapshot) call(sink);
    });
    NotifyOutcome outcome;
    outcome.delivered = static_cast<uint32_t>(snapshot.size());
    return outcome;
  }

  std::mutex mutex_;
  std::list<Entry> order_;  // insertion order; erasing keeps the others in place
  std::unordered_map<kel::Guid, std::list<Entry>::iterator, GuidHash> index_;
  uint64_t assigned_ = 0;
  UserInfo user_;
  UserStatus status_;
  SinkSet<ITaskEvents> taskSinks_;
  SinkSet<ISettingsEvents> settingsSinks_;
};

}  // namespace

std::unique_ptr<ReferencePlugin> MakeOnDemandPlugin() { return std::make_unique<OnDemandPlugin>(); }

}  // namespace kelhost
