#pragma once
// The inputs of the on-demand methods, each loaded whole before the plug-in
// is called, so that a bad one reaches no plug-in.
#include <cstdint>

#include "ondemand/task_schema.h"
#include "sdk/mailservers/antivirus.h"
#include "transport/antivirus/antivirus_schema.h"

namespace MailServers {

using kel::nusdk::MailServers::IOnDemand;

// The most tasks one SetAllTasks may carry: far beyond any console's list,
// and a bound on what one call can make the plug-in do.
inline constexpr Json::ArrayIndex kMaxTasks = 100000;

struct TaskIdRequest {  // GetTask, DeleteTask, IsTaskRunning, GetAntivirusRules
  kel::Guid taskId;
};
struct StartRequest {  // StartTask, RunTask
  kel::Guid taskId;
  kel::StringW context;
};
struct StopRequest {
  kel::Guid taskId;
  uint32_t timeout = IOnDemand::kNoTimeout;
};
struct SetAllTasksRequest {
  kel::List<IOnDemand::Task> tasks;
  uint8_t postponeDeletion = 0;
};
// "SetAntivirusRules": the antivirus rule set with the task it belongs to.
struct TaskAntivirusRules {
  kel::Guid taskId;
  kel::nusdk::MailServers::Antivirus::RuleSet rules;
};

}  // namespace MailServers

namespace EnterpriseIntegration {

// A list of tasks refused beyond kMaxTasks before any element is read.
struct TaskListCodec : JsonCodec {
  bool Load(const JsonNodeRef& at, kel::List<kel::nusdk::MailServers::IOnDemand::Task>& out) const;
  bool Save(const kel::List<kel::nusdk::MailServers::IOnDemand::Task>& value,
            Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
};

// clang-format off
template <>
struct JsonSchema<MailServers::TaskIdRequest> : JsonSchemaBase<MailServers::TaskIdRequest> {
  using S = MailServers::TaskIdRequest;
  static constexpr auto kFields = Fields(
      Required(MailServers::ondemand_keys::kTaskId, &S::taskId));
};

template <>
struct JsonSchema<MailServers::StartRequest> : JsonSchemaBase<MailServers::StartRequest> {
  using S = MailServers::StartRequest;
  static constexpr auto kFields = Fields(
      Required(MailServers::ondemand_keys::kTaskId,  &S::taskId),
      Required(MailServers::ondemand_keys::kContext, &S::context));
};

template <>
struct JsonSchema<MailServers::StopRequest> : JsonSchemaBase<MailServers::StopRequest> {
  using S = MailServers::StopRequest;
  static constexpr auto kFields = Fields(
      //       key                                  member        default
      Required(MailServers::ondemand_keys::kTaskId,  &S::taskId),
      Optional("timeout",                            &S::timeout,  Default(MailServers::IOnDemand::kNoTimeout)));
};

template <>
struct JsonSchema<MailServers::SetAllTasksRequest> : JsonSchemaBase<MailServers::SetAllTasksRequest> {
  using S = MailServers::SetAllTasksRequest;
  static constexpr auto kFields = Fields(
      Required(MailServers::ondemand_keys::kTasks, &S::tasks,            TaskListCodec()),
      Optional("postponeDeletion",                 &S::postponeDeletion, Default(uint8_t{0})));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::IOnDemand::UserInfo>
    : JsonSchemaBase<kel::nusdk::MailServers::IOnDemand::UserInfo> {
  using S = kel::nusdk::MailServers::IOnDemand::UserInfo;
  static constexpr auto kFields = Fields(
      Required("user",                   &S::user),
      Required("password",               &S::password),
      Optional("email",                  &S::email),
      Optional("exchangeWebServicesURL", &S::exchangeWebServicesURL));
};

template <>
struct JsonSchema<MailServers::TaskAntivirusRules> : JsonSchemaBase<MailServers::TaskAntivirusRules> {
  using S = MailServers::TaskAntivirusRules;
  static constexpr auto kFields = Fields(
      Required(MailServers::ondemand_keys::kTaskId, &S::taskId),
      Inline(&S::rules));
};
// clang-format on

}  // namespace EnterpriseIntegration
