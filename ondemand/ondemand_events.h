#pragma once
// The bodies of the on-demand agents' events, each a structure whose schema
// writes it, so that the agents' event tables describe what they send.
#include <cstdint>
#include <string>

#include "agent/json/json_schema_writer.h"
#include "agent/json/json_serializer.h"
#include "frame/guid.h"
#include "frame/string.h"
#include "ondemand/task_schema.h"
#include "sdk/mailservers/ondemand.h"

namespace MailServers {

// "MailServers.OnDemand.TaskStarted": the console's context, unwrapped.
struct TaskStartedBody {
  kel::Guid id;
  kel::StringW wrappedContext;
};

// "MailServers.OnDemand.TaskStopped".
struct TaskStoppedBody {
  kel::Guid id;
  kel::nusdk::MailServers::IOnDemand::RunStatistics statistics;
};

// "MailServers.OnDemand.TaskChanged": the plug-in's change type, a replaced
// task reported as modified and a code it does not define as unknown.
struct TaskChangedBody {
  kel::Guid id;
  uint32_t changeType = 0;
};
inline constexpr uint32_t kUnknownChange = 0xFFFFFFFFu;
inline constexpr auto kChangeTypeNames = EnterpriseIntegration::EnumNames({
    {kel::nusdk::MailServers::IOnDemand::kTaskAdded, "added"},
    {kel::nusdk::MailServers::IOnDemand::kTaskModified, "modified"},
    {kel::nusdk::MailServers::IOnDemand::kTaskDeleted, "deleted"},
    {kUnknownChange, "unknown"},
});
uint32_t ReportedChangeType(uint32_t pluginChangeType) noexcept;

// "IsTaskRunning"'s answer.
struct RunningAnswer {
  uint8_t running = 0;
};

// "MailServers.OnDemand.UserStatus".
struct UserStatusBody {
  kel::StringW user;
  int32_t error = 0;
  uint8_t functioning = 0;
};

// "MailServers.OnDemand.ScanLog", sent through the manager's log with a
// finished run's report (keys spelled so on the wire).
struct ScanLogBody {
  kel::StringW logfilepath;
  std::string polid;  // UTF-8, as the wrapped context held it
  kel::Guid taskid;
  kel::StringW taskname;
  int64_t starttime = 0;
  int32_t runstatus = 0;
  int32_t runsumary = 0;
};

// "...OnDemand.TaskProgress": the context as the console gave it.
struct ProgressBody {
  kel::Guid id;
  kel::StringW context;
  uint32_t percentage = 0;
};

}  // namespace MailServers

namespace EnterpriseIntegration {

// clang-format off
template <>
struct JsonSchema<MailServers::TaskStartedBody> : JsonSchemaBase<MailServers::TaskStartedBody> {
  using S = MailServers::TaskStartedBody;
  static constexpr auto kFields = Fields(
      Required("id",      &S::id),
      Required("context", &S::wrappedContext, UnwrappedContextCodec(), kSaveOnly));
};

template <>
struct JsonSchema<MailServers::TaskStoppedBody> : JsonSchemaBase<MailServers::TaskStoppedBody> {
  using S = MailServers::TaskStoppedBody;
  static constexpr auto kFields = Fields(
      Required("id",                                  &S::id),
      Required(MailServers::ondemand_keys::kStatistics, &S::statistics));
};

template <>
struct JsonSchema<MailServers::TaskChangedBody> : JsonSchemaBase<MailServers::TaskChangedBody> {
  using S = MailServers::TaskChangedBody;
  static constexpr auto kFields = Fields(
      Required("id",         &S::id),
      Required("changeType", &S::changeType, MailServers::kChangeTypeNames));
};

template <>
struct JsonSchema<MailServers::ScanLogBody> : JsonSchemaBase<MailServers::ScanLogBody> {
  using S = MailServers::ScanLogBody;
  static constexpr auto kFields = Fields(
      Required("logfilepath", &S::logfilepath),
      Required("polid",       &S::polid),
      Required("taskid",      &S::taskid),
      Required("taskname",    &S::taskname),
      Required("starttime",   &S::starttime),
      Required("runstatus",   &S::runstatus),
      Required("runsumary",   &S::runsumary));
};

template <>
struct JsonSchema<MailServers::RunningAnswer> : JsonSchemaBase<MailServers::RunningAnswer> {
  using S = MailServers::RunningAnswer;
  static constexpr auto kFields = Fields(Required("running", &S::running));
};

template <>
struct JsonSchema<MailServers::UserStatusBody> : JsonSchemaBase<MailServers::UserStatusBody> {
  using S = MailServers::UserStatusBody;
  static constexpr auto kFields = Fields(
      Required("user",        &S::user),
      Required("error",       &S::error),
      Required("functioning", &S::functioning));
};

template <>
struct JsonSchema<MailServers::ProgressBody> : JsonSchemaBase<MailServers::ProgressBody> {
  using S = MailServers::ProgressBody;
  static constexpr auto kFields = Fields(
      Required("id",                      &S::id),
      Required("context",                 &S::context),
      Required("progress/percentageDone", &S::percentage));
};
// clang-format on

}  // namespace EnterpriseIntegration
