#pragma once
// An IOnDemand that records every call as one line, keeps a small task store,
// and answers a chosen code for chosen operations.
#include <map>
#include <set>
#include <string>
#include <vector>

#include "frame/guid.h"
#include "frame/text_convert.h"
#include "sdk/mailservers/ondemand.h"

namespace ondemand_test {

// The n-th id the reference plug-in would assign.
inline kel::Guid Id(uint64_t n) { return kel::Guid{n, 0}; }

inline std::string Text(const kel::Guid& id) {
  const kel::StringW text = id.ToString();
  return kel::Utf8FromWide(text.c_str(), text.Length());
}

class RecordingOnDemand final : public kel::nusdk::MailServers::IOnDemand {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return this; }

  // Holds a task with `id` and schedule `type`, running or not.
  void Hold(uint64_t id, int32_t type, bool running = false) {
    ids.push_back(Id(id));
    schedules[Id(id)] = type;
    if (running) this->running.insert(Id(id));
  }

  uint32_t GetTaskIdList(kel::List<kel::Guid>& out) override {
    if (uint32_t code = Call("GetTaskIdList")) return code;
    for (const kel::Guid& id : ids) out.EmplaceBack(id);
    return 0;
  }
  uint32_t GetRunningTasks(kel::List<RunInfo>&) override { return Call("GetRunningTasks"); }
  uint32_t AddTask(const Task& task, kel::Guid& id) override {
    if (uint32_t code = Call("AddTask " + Text(task.id))) return code;
    id = Id(++assigned);
    return 0;
  }
  uint32_t UpdateTask(const Task& task) override {
    return Call("UpdateTask " + Text(task.id) + " type " + std::to_string(task.schedule.type));
  }
  uint32_t GetTask(const kel::Guid& id, Task& task) override {
    if (uint32_t code = Call("GetTask " + Text(id))) return code;
    task.id = id;
    task.schedule.type = schedules[id];
    return 0;
  }
  uint32_t DeleteTask(const kel::Guid& id) override { return Call("DeleteTask " + Text(id)); }
  uint32_t DeleteAllTasks() override { return Call("DeleteAllTasks"); }
  uint32_t StartTask(const kel::Guid& id, const kel::StringW&) override {
    return Call("StartTask " + Text(id));
  }
  uint32_t StopTask(const kel::Guid& id, uint32_t timeout) override {
    return Call("StopTask " + Text(id) + " " + std::to_string(timeout));
  }
  uint32_t IsTaskRunning(const kel::Guid& id, TaskState& state) override {
    if (uint32_t code = Call("IsTaskRunning " + Text(id))) return code;
    state = running.count(id) ? kRunning : kInactive;
    return 0;
  }
  uint32_t SetUser(const UserInfo&) override { return Call("SetUser"); }
  uint32_t GetUser(UserInfo&) override { return Call("GetUser"); }
  uint32_t GetUserStatus(kel::StringW&, uint8_t&, int32_t&) override {
    return Call("GetUserStatus");
  }
  uint32_t Reserved14() override { return Call("Reserved14"); }
  uint32_t RegisterTaskEvents(ITaskEvents*) override { return Call("RegisterTaskEvents"); }
  uint32_t RegisterSettingsEvents(ISettingsEvents*) override {
    return Call("RegisterSettingsEvents");
  }
  uint32_t Reserved17() override { return Call("Reserved17"); }
  uint32_t UnregisterTaskEvents(ITaskEvents*) override { return Call("UnregisterTaskEvents"); }
  uint32_t UnregisterSettingsEvents(ISettingsEvents*) override {
    return Call("UnregisterSettingsEvents");
  }

  std::vector<kel::Guid> ids;
  std::map<kel::Guid, int32_t> schedules;
  std::set<kel::Guid> running;
  std::map<std::string, uint32_t> failing;  // operation name -> code
  std::vector<std::string> calls;
  uint64_t assigned = 100;

 private:
  uint32_t Call(const std::string& line) {
    calls.push_back(line);
    auto found = failing.find(line.substr(0, line.find(' ')));
    return found == failing.end() ? 0 : found->second;
  }
};

}  // namespace ondemand_test
