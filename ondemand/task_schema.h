#pragma once
// The JSON form of on-demand tasks and of what the plug-in reports about them:
// the task both ways, running tasks, run statistics and task states. Contexts
// that come back from the plug-in are written unwrapped (task_context.h).
//
// Load rules a plain schema cannot say, each in its own codec below:
// - "id" may be the empty string: the task keeps the id it has (all zero for a
//   new task, whose id the plug-in assigns); braces are optional.
// - "startDate" is accepted as a signed or an unsigned 64-bit integer.
// - "objects" absent means every item kind; present, each flag it names
//   replaces the task's and the others stay as they were.
// - a date limit is a bare integer (an absolute time) or {"when", "relative"}.
#include <cstdint>

#include "agent/json/json_schema_writer.h"
#include "agent/json/json_serializer.h"
#include "sdk/mailservers/ondemand.h"

namespace MailServers::ondemand_keys {
inline constexpr char kAntivirus[] = "antivirus";
inline constexpr char kAppointments[] = "appointments";
inline constexpr char kContacts[] = "contacts";
inline constexpr char kContext[] = "context";
inline constexpr char kDatabases[] = "databases";
inline constexpr char kDays[] = "days";
inline constexpr char kDetected[] = "detected";
inline constexpr char kDetectionResolved[] = "detectionResolved";
inline constexpr char kDuration[] = "duration";
inline constexpr char kEmails[] = "emails";
inline constexpr char kError[] = "error";
inline constexpr char kExcept[] = "except";
inline constexpr char kId[] = "id";
inline constexpr char kItemsScanned[] = "itemsScanned";
inline constexpr char kMailboxes[] = "mailboxes";
inline constexpr char kMaxItemSize[] = "maxItemSize";
inline constexpr char kMaxScanTime[] = "maxScanTime";
inline constexpr char kName[] = "name";
inline constexpr char kObjects[] = "objects";
inline constexpr char kPercentageDone[] = "progress/percentageDone";
inline constexpr char kPostItems[] = "postItems";
inline constexpr char kPublicFolders[] = "publicFolders";
inline constexpr char kReason[] = "reason";
inline constexpr char kReceivedAfter[] = "receivedAfter";
// Spelled so on the wire; the console depends on it.
inline constexpr char kReceivedAfterLastSuccessfullRan[] = "receivedAfterLastSuccessfullRan";
inline constexpr char kReceivedBefore[] = "receivedBefore";
inline constexpr char kRelative[] = "relative";
inline constexpr char kRepeatSeconds[] = "repeatSeconds";
inline constexpr char kReport[] = "report";
inline constexpr char kReportPath[] = "reportPath";
inline constexpr char kRestrictions[] = "restrictions";
inline constexpr char kScan[] = "scan";
inline constexpr char kSchedule[] = "schedule";
inline constexpr char kServers[] = "servers";
inline constexpr char kStartDate[] = "startDate";
inline constexpr char kStartTime[] = "startTime";
inline constexpr char kState[] = "state";
inline constexpr char kStatistics[] = "statistics";
inline constexpr char kTarget[] = "target";
inline constexpr char kTask[] = "task";
inline constexpr char kTaskId[] = "taskId";
inline constexpr char kTaskIds[] = "taskIds";
inline constexpr char kTasks[] = "tasks";
inline constexpr char kThreats[] = "threats";
inline constexpr char kType[] = "type";
inline constexpr char kUnreadOnly[] = "unreadOnly";
inline constexpr char kUnscannable[] = "unscannable";
inline constexpr char kUnscannableResolved[] = "unscannableResolved";
inline constexpr char kWhen[] = "when";
inline constexpr char kWithAttachmentsOnly[] = "withAttachmentsOnly";
}  // namespace MailServers::ondemand_keys

namespace EnterpriseIntegration {

namespace ondemand {
using IOnDemand = kel::nusdk::MailServers::IOnDemand;

inline constexpr auto kTaskStateNames = EnumNames({
    {IOnDemand::kRunning, "running"},
    {IOnDemand::kStopping, "stopping"},
    {IOnDemand::kInactive, "inactive"},
});

// Every item kind, what a task without "objects" scans.
inline constexpr IOnDemand::ScanObjects kAllObjects{1, 1, 1, 1, 1};

// "reason" of a run: a status without a name of its own is "n/a".
const char* RunStatusName(int32_t status) noexcept;
}  // namespace ondemand

// "id" of a task: empty keeps the id the task has; otherwise a GUID text,
// braces optional.
struct TaskIdCodec : JsonCodec {
  bool Load(const JsonNodeRef& at, kel::Guid& out) const;
  bool Save(const kel::Guid& value, Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
};

// "startDate": signed or unsigned 64-bit in, signed out.
struct StartDateCodec : JsonCodec {
  bool Load(const JsonNodeRef& at, int64_t& out) const;
  bool Save(const int64_t& value, Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
};

// A date limit: a bare integer sets "when" and clears "relative"; an object
// sets each of its two keys that is present. Always saved as the object.
struct DateLimitCodec : JsonCodec {
  bool Load(const JsonNodeRef& at, kel::nusdk::MailServers::IOnDemand::DateLimit& out) const;
  bool Save(const kel::nusdk::MailServers::IOnDemand::DateLimit& value, Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
};
template <>
struct DefaultCodecFor<kel::nusdk::MailServers::IOnDemand::DateLimit> {
  using type = DateLimitCodec;
};

// A context that the plug-in hands back: saved unwrapped.
struct UnwrappedContextCodec : JsonCodec {
  bool Load(const JsonNodeRef&, kel::StringW&) const { return false; }
  bool Save(const kel::StringW& value, Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
};

// "reason": the status's name, "n/a" for any other value.
struct RunStatusCodec : JsonCodec {
  bool Load(const JsonNodeRef&, int32_t&) const { return false; }
  bool Save(const int32_t& value, Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
};

// clang-format off
template <>
struct JsonSchema<kel::nusdk::MailServers::IOnDemand::Schedule>
    : JsonSchemaBase<kel::nusdk::MailServers::IOnDemand::Schedule> {
  using S = kel::nusdk::MailServers::IOnDemand::Schedule;
  static constexpr auto kFields = Fields(
      //       key                                  member              conversion
      Required(MailServers::ondemand_keys::kType,          &S::type),
      Required(MailServers::ondemand_keys::kStartDate,     &S::startDate,      StartDateCodec()),
      Required(MailServers::ondemand_keys::kDays,          &S::days),
      Required(MailServers::ondemand_keys::kRepeatSeconds, &S::repeatSeconds));
};

// Each list is read only when present: an absent one keeps what the task had.
template <>
struct JsonSchema<kel::nusdk::MailServers::IOnDemand::ScanTarget>
    : JsonSchemaBase<kel::nusdk::MailServers::IOnDemand::ScanTarget> {
  using S = kel::nusdk::MailServers::IOnDemand::ScanTarget;
  static constexpr auto kFields = Fields(
      Optional(MailServers::ondemand_keys::kMailboxes,     &S::mailboxes),
      Optional(MailServers::ondemand_keys::kDatabases,     &S::databases),
      Optional(MailServers::ondemand_keys::kServers,       &S::servers),
      Optional(MailServers::ondemand_keys::kPublicFolders, &S::publicFolders));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::IOnDemand::ScanObjects>
    : JsonSchemaBase<kel::nusdk::MailServers::IOnDemand::ScanObjects> {
  using S = kel::nusdk::MailServers::IOnDemand::ScanObjects;
  static constexpr auto kFields = Fields(
      Optional(MailServers::ondemand_keys::kEmails,       &S::emails),
      Optional(MailServers::ondemand_keys::kAppointments, &S::appointments),
      Optional(MailServers::ondemand_keys::kContacts,     &S::contacts),
      Optional(MailServers::ondemand_keys::kTasks,        &S::tasks),
      Optional(MailServers::ondemand_keys::kPostItems,    &S::postItems));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::IOnDemand::ScanScope>
    : JsonSchemaBase<kel::nusdk::MailServers::IOnDemand::ScanScope> {
  using S = kel::nusdk::MailServers::IOnDemand::ScanScope;
  static constexpr auto kFields = Fields(
      //       key                               member        default
      Required(MailServers::ondemand_keys::kTarget,  &S::target),
      Optional(MailServers::ondemand_keys::kExcept,  &S::except,  Default()),
      Optional(MailServers::ondemand_keys::kObjects, &S::objects, Default(ondemand::kAllObjects)));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::IOnDemand::DateLimit>
    : JsonSchemaBase<kel::nusdk::MailServers::IOnDemand::DateLimit> {
  using S = kel::nusdk::MailServers::IOnDemand::DateLimit;
  static constexpr auto kFields = Fields(
      Optional(MailServers::ondemand_keys::kWhen,     &S::when),
      Optional(MailServers::ondemand_keys::kRelative, &S::relative));
};

// Present keys replace the defaults a fresh task holds; absent ones keep them.
template <>
struct JsonSchema<kel::nusdk::MailServers::IOnDemand::Restrictions>
    : JsonSchemaBase<kel::nusdk::MailServers::IOnDemand::Restrictions> {
  using S = kel::nusdk::MailServers::IOnDemand::Restrictions;
  static constexpr auto kFields = Fields(
      Optional(MailServers::ondemand_keys::kMaxItemSize,                     &S::maxItemSize),
      Optional(MailServers::ondemand_keys::kUnreadOnly,                      &S::unreadOnly),
      Optional(MailServers::ondemand_keys::kReceivedAfter,                   &S::receivedAfter),
      Optional(MailServers::ondemand_keys::kReceivedBefore,                  &S::receivedBefore),
      Optional(MailServers::ondemand_keys::kReceivedAfterLastSuccessfullRan, &S::receivedAfterLastSuccessfullRan),
      Optional(MailServers::ondemand_keys::kWithAttachmentsOnly,             &S::withAttachmentsOnly),
      Optional(MailServers::ondemand_keys::kMaxScanTime,                     &S::maxScanTime));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::IOnDemand::Task>
    : JsonSchemaBase<kel::nusdk::MailServers::IOnDemand::Task> {
  using S = kel::nusdk::MailServers::IOnDemand::Task;
  static constexpr auto kFields = Fields(
      //       key                                     member             conversion, default
      Required(MailServers::ondemand_keys::kId,           &S::id,           TaskIdCodec()),
      Optional(MailServers::ondemand_keys::kName,         &S::name),
      Required(MailServers::ondemand_keys::kSchedule,     &S::schedule),
      Required(MailServers::ondemand_keys::kScan,         &S::scan),
      Required(MailServers::ondemand_keys::kReportPath,   &S::reportPath),
      Optional(MailServers::ondemand_keys::kRestrictions, &S::restrictions, Default()));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::IOnDemand::RunInfo>
    : JsonSchemaBase<kel::nusdk::MailServers::IOnDemand::RunInfo> {
  using S = kel::nusdk::MailServers::IOnDemand::RunInfo;
  static constexpr auto kFields = Fields(
      Required(MailServers::ondemand_keys::kId,             &S::id),
      Required(MailServers::ondemand_keys::kName,           &S::name),
      Required(MailServers::ondemand_keys::kContext,        &S::context,        UnwrappedContextCodec(), kSaveOnly),
      Required(MailServers::ondemand_keys::kStartTime,      &S::startTime),
      Required(MailServers::ondemand_keys::kState,          &S::state,          ondemand::kTaskStateNames),
      Required(MailServers::ondemand_keys::kPercentageDone, &S::percentageDone));
};

// Written only; the start time travels with the run's other events.
template <>
struct JsonSchema<kel::nusdk::MailServers::IOnDemand::RunStatistics>
    : JsonSchemaBase<kel::nusdk::MailServers::IOnDemand::RunStatistics> {
  using S = kel::nusdk::MailServers::IOnDemand::RunStatistics;
  static constexpr bool Failed(const S& s) { return s.status == kel::nusdk::MailServers::IOnDemand::kRunError; }
  static constexpr auto kFields = Fields(
      Required(MailServers::ondemand_keys::kName,     &S::name,          kSaveOnly),
      Required("antivirus/itemsScanned",        &S::itemsScanned,        kSaveOnly),
      Required("antivirus/detected",            &S::detected,            kSaveOnly),
      Required("antivirus/detectionResolved",   &S::detectionResolved,   kSaveOnly),
      Required("antivirus/unscannable",         &S::unscannable,         kSaveOnly),
      Required("antivirus/unscannableResolved", &S::unscannableResolved, kSaveOnly),
      Required("antivirus/threats",             &S::threats,             kSaveOnly),
      Required(MailServers::ondemand_keys::kDuration, &S::duration,      kSaveOnly),
      Required(MailServers::ondemand_keys::kReason,   &S::status,        RunStatusCodec(), kSaveOnly),
      Required(MailServers::ondemand_keys::kContext,  &S::context,       UnwrappedContextCodec(), kSaveOnly),
      Required(MailServers::ondemand_keys::kReport,   &S::report,        kSaveOnly),
      Required(MailServers::ondemand_keys::kError,    &S::error,         When(&Failed), kSaveOnly));
};
// clang-format on

}  // namespace EnterpriseIntegration
