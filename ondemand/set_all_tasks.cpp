#include "ondemand/set_all_tasks.h"

#include <functional>
#include <string>
#include <unordered_map>

#include "frame/logging/log.h"
#include "frame/text_convert.h"

namespace MailServers {
namespace {

using kel::nusdk::MailServers::IOnDemand;

constexpr wchar_t kSetAllTasks[] = L"MailServers::OnDemandAgent::SetAllTasks";
constexpr wchar_t kEachCurrent[] =
    L"MailServers::OnDemandAgent::SetAllTasks::<lambda_2>::operator ()";
constexpr wchar_t kEachNew[] = L"MailServers::OnDemandAgent::SetAllTasks::<lambda_3>::operator ()";
constexpr wchar_t kDeleteTask[] = L"MailServers::OnDemandAgent::DeleteTask";

std::string Utf8(const kel::StringW& text) {
  return kel::Utf8FromWide(text.c_str(), text.Length());
}

struct GuidHash {
  size_t operator()(const kel::Guid& id) const noexcept {
    return std::hash<uint64_t>()(id.low ^ (id.high * 0x9E3779B97F4A7C15ull));
  }
};

}  // namespace

uint32_t DeleteTaskChecked(IOnDemand& plugin, const kel::Guid& id, bool checkRunning) {
  if (!checkRunning) return plugin.DeleteTask(id);
  IOnDemand::TaskState state = IOnDemand::kInactive;
  const uint32_t running = plugin.IsTaskRunning(id, state);
  const kel::StringW text = id.ToString();
  if (running == 0 && state == IOnDemand::kRunning) {
    logging::Write(logging::kLevelTrace, kDeleteTask,
                   L"Task %s is running, taking alternative measures", text.c_str());
    IOnDemand::Task task;
    if (plugin.GetTask(id, task) != 0) return 0;
    if (task.schedule.type == IOnDemand::kScheduleNever) {
      logging::Write(logging::kLevelTrace, kDeleteTask, L"Task is already unscheduled, moving on");
    } else {
      task.schedule.type = IOnDemand::kScheduleNever;
      const uint32_t updated = plugin.UpdateTask(task);
      logging::Write(updated != 0 ? logging::kLevelFailure : logging::kLevelTrace, kDeleteTask,
                     L"Setting schedule to never (err %d)", static_cast<int>(updated));
    }
    return 0;
  }
  // The message ends without its closing parenthesis; log readers match it so.
  logging::Write(running != 0 ? logging::kLevelFailure : logging::kLevelTrace, kDeleteTask,
                 L"Deleting task %s (isRunning %d, prev err %d", text.c_str(),
                 static_cast<int>(state), static_cast<int>(running));
  return plugin.DeleteTask(id);
}

void TaskCodesCodec::Describe(EnterpriseIntegration::SchemaDirection direction,
                              Json::Value& out) const {
  EnterpriseIntegration::DescribeCodec(
      static_cast<const EnterpriseIntegration::MapCodec<
          TaskCodes, EnterpriseIntegration::IntegerCodec<uint32_t>>&>(*this),
      direction, out);
  out["propertyNames"] = EnterpriseIntegration::GuidSchema(direction);
}

uint32_t SetAllTasks(IOnDemand& plugin, const kel::List<IOnDemand::Task>& tasks,
                     bool postponeDeletion, Json::Value& output) {
  SetAllTasksAnswer answer;
  if (const uint32_t code = SetAllTasks(plugin, tasks, postponeDeletion, answer)) return code;
  Json::Value written;
  EnterpriseIntegration::JsonSerializer<SetAllTasksAnswer>::Save(written, answer);
  for (const std::string& key : written.getMemberNames()) output[key] = std::move(written[key]);
  return 0;
}

uint32_t SetAllTasks(IOnDemand& plugin, const kel::List<IOnDemand::Task>& tasks,
                     bool postponeDeletion, SetAllTasksAnswer& answer) {
  kel::List<kel::Guid> current;
  if (const uint32_t code = plugin.GetTaskIdList(current)) {
    logging::Write(logging::kLevelFailure, kSetAllTasks, L"GetTaskIdList failed with error %d",
                   static_cast<int>(code));
    return code;
  }

  // Both directions look ids up by hash: thousands of tasks on each side must
  // not cost a comparison per pair. The first task of an id wins, as a search
  // of the list in order would find it.
  std::unordered_map<kel::Guid, const IOnDemand::Task*, GuidHash> wanted;
  wanted.reserve(tasks.Count());
  for (const IOnDemand::Task& task : tasks) wanted.emplace(task.id, &task);
  std::unordered_map<kel::Guid, bool, GuidHash> present;
  present.reserve(current.Count());

  SetAllTasksAnswer codes;
  for (const kel::Guid& id : current) {
    present.emplace(id, true);
    const kel::StringW text = id.ToString();
    const std::string key = Utf8(text);
    auto found = wanted.find(id);
    if (found != wanted.end()) {
      logging::Write(logging::kLevelTrace, kEachCurrent, L"Updating task %s", text.c_str());
      codes.updated[key] = plugin.UpdateTask(*found->second);
    } else {
      logging::Write(logging::kLevelTrace, kEachCurrent, L"Deleting task %s", text.c_str());
      codes.deleted[key] = DeleteTaskChecked(plugin, id, postponeDeletion);
    }
  }
  for (const IOnDemand::Task& task : tasks) {
    if (present.count(task.id) != 0) continue;
    kel::Guid assigned;
    const uint32_t code = plugin.AddTask(task, assigned);
    const kel::StringW text = assigned.ToString();
    codes.added[Utf8(text)] = code;
    logging::Write(logging::kLevelTrace, kEachNew, L"Added task %s", text.c_str());
  }
  answer = std::move(codes);
  return 0;
}

}  // namespace MailServers
