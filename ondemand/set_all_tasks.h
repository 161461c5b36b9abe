#pragma once
// Brings the plug-in's task store in line with the complete task list the
// console sends: a task the plug-in has and the list names is updated, one
// the list does not name is deleted, one the plug-in lacks is added.
//
// A running task that is to go is, with postponeDeletion, only taken off the
// schedule (its schedule set to "never"): the console repeats the deletion on
// a later synchronisation, once the run has ended. Per-task failures are
// reported in the three maps only, never as the call's result.
#include <cstdint>
#include <map>
#include <string>

#include <json/value.h>

#include "agent/json/json_schema_writer.h"
#include "agent/json/json_serializer.h"

#include "frame/list.h"
#include "sdk/mailservers/ondemand.h"

namespace MailServers {

// The codes of a synchronisation: each task's code under the lower-case text
// of its GUID ("added" is keyed by the id the plug-in assigned).
using TaskCodes = std::map<std::string, uint32_t>;
struct TaskCodesCodec
    : EnterpriseIntegration::MapCodec<TaskCodes, EnterpriseIntegration::IntegerCodec<uint32_t>> {
  void Describe(EnterpriseIntegration::SchemaDirection direction, Json::Value& out) const;
};
struct SetAllTasksAnswer {
  TaskCodes updated;
  TaskCodes deleted;
  TaskCodes added;
};

// Fills `answer`. Answers 0, or GetTaskIdList's code when the current list
// cannot be read, in which case nothing was changed and `answer` is
// untouched.
uint32_t SetAllTasks(kel::nusdk::MailServers::IOnDemand& plugin,
                     const kel::List<kel::nusdk::MailServers::IOnDemand::Task>& tasks,
                     bool postponeDeletion, SetAllTasksAnswer& answer);
// The same, the answer as its JSON members ("updated", "deleted", "added")
// placed into `output`.
uint32_t SetAllTasks(kel::nusdk::MailServers::IOnDemand& plugin,
                     const kel::List<kel::nusdk::MailServers::IOnDemand::Task>& tasks,
                     bool postponeDeletion, Json::Value& output);

// Deletes one task. With `checkRunning`, a running task is not deleted but
// unscheduled, and that counts as done (0).
uint32_t DeleteTaskChecked(kel::nusdk::MailServers::IOnDemand& plugin, const kel::Guid& id,
                           bool checkRunning);

}  // namespace MailServers

namespace EnterpriseIntegration {

// clang-format off
template <>
struct JsonSchema<MailServers::SetAllTasksAnswer> : JsonSchemaBase<MailServers::SetAllTasksAnswer> {
  using S = MailServers::SetAllTasksAnswer;
  static constexpr auto kFields = Fields(
      Required("updated", &S::updated, MailServers::TaskCodesCodec()),
      Required("deleted", &S::deleted, MailServers::TaskCodesCodec()),
      Required("added",   &S::added,   MailServers::TaskCodesCodec()));
};
// clang-format on

}  // namespace EnterpriseIntegration
