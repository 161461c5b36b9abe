#include "ondemand/ondemand_agent.h"

#include <cwchar>

#include "agent/policy_answer.h"
#include "agent/rule_set_methods.h"
#include "frame/result_codes.h"
#include "frame/text_convert.h"
#include "ondemand/ondemand_dispatch.h"
#include "ondemand/ondemand_events.h"
#include "ondemand/ondemand_requests.h"
#include "ondemand/set_all_tasks.h"
#include "ondemand/task_context.h"

namespace MailServers {

using EnterpriseIntegration::AnswerAt;
using EnterpriseIntegration::AnswerWith;
using EnterpriseIntegration::Handle;
using EnterpriseIntegration::JsonSerializer;
using EnterpriseIntegration::kBodyOf;
using EnterpriseIntegration::kInputAt;
using EnterpriseIntegration::kInputOf;
using EnterpriseIntegration::kNoInput;
using EnterpriseIntegration::kNoOutput;
using EnterpriseIntegration::kOutputAt;
using EnterpriseIntegration::kOutputOf;
using EnterpriseIntegration::LoadInput;
using kel::nusdk::MailServers::IOnDemand;
namespace av = kel::nusdk::MailServers::Antivirus;
namespace keys = ondemand_keys;

namespace {

constexpr wchar_t kTaskStarted[] = L"MailServers.OnDemand.TaskStarted";
constexpr wchar_t kTaskStopped[] = L"MailServers.OnDemand.TaskStopped";
constexpr wchar_t kScanLog[] = L"MailServers.OnDemand.ScanLog";
constexpr wchar_t kTaskChanged[] = L"MailServers.OnDemand.TaskChanged";
constexpr wchar_t kUserStatus[] = L"MailServers.OnDemand.UserStatus";
constexpr wchar_t kTaskProgress[] = L"MailServers.OnDemand.TaskProgress";

// The management side's event log takes a scan log under this category.
constexpr uint32_t kScanLogCategory = 306;
constexpr uint32_t kSeverityConsoleRun = 1;  // the run came with a console context
constexpr uint32_t kSeverityOtherRun = 2;    // a scheduled run, or one started elsewhere
constexpr uint32_t kScanLogFlags = 4096;
constexpr uint32_t kScanLogCode = 0;
constexpr uint32_t kScanLogCount = 1;

// "runsumary": how a run's findings were dealt with.
constexpr int kNothingFound = 0;
constexpr int kAllResolved = 1;
constexpr int kSomeUnresolved = 2;

// GetUserStatus's presets, answered when the plug-in leaves them.
constexpr int32_t kUserStatusUnknownError = 87;

bool MarksNotFunctioning(uint32_t code) { return code == 1229 || code == 2250; }

std::string Utf8(const kel::StringW& text) {
  return kel::Utf8FromWide(text.c_str(), text.Length());
}

// Sends `body` by its structure's schema, as Events() lists it.
template <class T>
void SendBody(OnDemandAgent& agent, const wchar_t* event, const T& body) {
  Json::Value document;
  if (JsonSerializer<T>::Save(document, body)) agent.SendEvent(event, document);
}

int RunSummary(const IOnDemand::RunStatistics& stats) {
  if (stats.detected == 0 && stats.unscannable == 0) return kNothingFound;
  if (stats.detected == stats.detectionResolved && stats.unscannable == stats.unscannableResolved) {
    return kAllResolved;
  }
  return kSomeUnresolved;
}

std::string PolicyIdOf(IPolicyMethod& method) {
  const wchar_t* policy = method.GetPolicyId();
  return policy ? kel::Utf8FromWide(policy, std::wcslen(policy)) : std::string();
}

}  // namespace

OnDemandAgent::OnDemandAgent(const wchar_t* agentName, kel::Clock& clock)
    : EnterpriseIntegration::Agent<IOnDemand>(agentName, L"MailServers::OnDemandAgent",
                                              kel::nusdk::MailServers::kOnDemandComponentName,
                                              kOnDemandDispatchRules),
      antivirus_(DeclarePlugin<av::IAntivirus>(av::kComponentName)),
      progress_(
          [this](const OdProgressReporter::OdProgress& progress) {
            return SendEvent(kTaskProgress, ProgressEventBody(progress),
                             EnterpriseIntegration::kEventHighFrequency);
          },
          clock) {}

EnterpriseIntegration::PolicyMethodTable OnDemandAgent::PolicyMethods() const {
  static constexpr EnterpriseIntegration::PolicyMethodEntry kMethods[] = {
      {L"GetTaskIdList", Handle<&OnDemandAgent::GetTaskIdList>, kNoInput,
       kOutputAt<keys::kTaskIds, kel::List<kel::Guid>>},
      {L"GetRunningTasks", Handle<&OnDemandAgent::GetRunningTasks>, kNoInput,
       kOutputAt<keys::kTasks, kel::List<IOnDemand::RunInfo>>},
      {L"AddTask", Handle<&OnDemandAgent::AddTask>, kInputAt<keys::kTask, IOnDemand::Task>,
       kOutputAt<keys::kId, kel::Guid>},
      {L"UpdateTask", Handle<&OnDemandAgent::UpdateTask>, kInputAt<keys::kTask, IOnDemand::Task>,
       kNoOutput},
      {L"GetTask", Handle<&OnDemandAgent::GetTask>, kInputOf<TaskIdRequest>,
       kOutputAt<keys::kTask, IOnDemand::Task>},
      {L"DeleteTask", Handle<&OnDemandAgent::DeleteTask>, kInputOf<TaskIdRequest>, kNoOutput},
      {L"DeleteAllTasks", Handle<&OnDemandAgent::DeleteAllTasks>, kNoInput, kNoOutput},
      {L"StartTask", Handle<&OnDemandAgent::StartTask>, kInputOf<StartRequest>, kNoOutput},
      {L"StopTask", Handle<&OnDemandAgent::StopTask>, kInputOf<StopRequest>, kNoOutput},
      {L"IsTaskRunning", Handle<&OnDemandAgent::IsTaskRunning>, kInputOf<TaskIdRequest>,
       kOutputOf<RunningAnswer>},
      {L"SetAllTasks", Handle<&OnDemandAgent::SetAllTasks>, kInputOf<SetAllTasksRequest>,
       kOutputOf<SetAllTasksAnswer>},
      {L"SetUser", Handle<&OnDemandAgent::SetUser>, kInputOf<IOnDemand::UserInfo>, kNoOutput},
      {L"GetUser", Handle<&OnDemandAgent::GetUser>, kNoInput, kOutputOf<IOnDemand::UserInfo>},
      {L"RunTask", Handle<&OnDemandAgent::RunTask>, kInputOf<StartRequest>, kNoOutput},
      {L"SetAntivirusRules", Handle<&OnDemandAgent::SetAntivirusRules>,
       kInputOf<TaskAntivirusRules>, kNoOutput},
      {L"GetAntivirusRules", Handle<&OnDemandAgent::GetAntivirusRules>, kInputOf<TaskIdRequest>,
       kOutputOf<av::RuleSet>},
  };
  return kMethods;
}

// Built by the notification handlers below.
EnterpriseIntegration::EventTable OnDemandAgent::Events() const {
  static constexpr EnterpriseIntegration::EventEntry kEvents[] = {
      {kTaskStarted, kBodyOf<TaskStartedBody>}, {kTaskStopped, kBodyOf<TaskStoppedBody>},
      {kTaskChanged, kBodyOf<TaskChangedBody>}, {kUserStatus, kBodyOf<UserStatusBody>},
      {kTaskProgress, kBodyOf<ProgressBody>},   {kScanLog, kBodyOf<ScanLogBody>},
  };
  return kEvents;
}

bool OnDemandAgent::GetTaskIdList(IPolicyMethod& method) {
  kel::List<kel::Guid> ids;
  AnswerAt(method, plugin()->GetTaskIdList(ids), keys::kTaskIds, ids);
  return true;
}

bool OnDemandAgent::GetRunningTasks(IPolicyMethod& method) {
  kel::List<IOnDemand::RunInfo> tasks;
  AnswerAt(method, plugin()->GetRunningTasks(tasks), keys::kTasks, tasks);
  return true;
}

bool OnDemandAgent::AddTask(IPolicyMethod& method) {
  IOnDemand::Task task;
  if (!LoadInput(method, keys::kTask, task)) return false;
  kel::Guid assigned;
  const uint32_t code = plugin()->AddTask(task, assigned);
  task.id = assigned;
  AnswerAt(method, code, keys::kId, task.id);
  return true;
}

bool OnDemandAgent::UpdateTask(IPolicyMethod& method) {
  IOnDemand::Task task;
  if (!LoadInput(method, keys::kTask, task)) return false;
  method.SetResult(plugin()->UpdateTask(task));
  return true;
}

bool OnDemandAgent::GetTask(IPolicyMethod& method) {
  TaskIdRequest request;
  if (!LoadInput(method, request)) return false;
  IOnDemand::Task task;
  AnswerAt(method, plugin()->GetTask(request.taskId, task), keys::kTask, task);
  return true;
}

bool OnDemandAgent::DeleteTask(IPolicyMethod& method) {
  TaskIdRequest request;
  if (!LoadInput(method, request)) return false;
  method.SetResult(plugin()->DeleteTask(request.taskId));
  return true;
}

bool OnDemandAgent::DeleteAllTasks(IPolicyMethod& method) {
  method.SetResult(plugin()->DeleteAllTasks());
  return true;
}

bool OnDemandAgent::StartTask(IPolicyMethod& method) {
  StartRequest request;
  if (!LoadInput(method, request)) return false;
  method.SetResult(
      plugin()->StartTask(request.taskId, WrapContext(Utf8(request.context), PolicyIdOf(method))));
  return true;
}

bool OnDemandAgent::StopTask(IPolicyMethod& method) {
  StopRequest request;
  if (!LoadInput(method, request)) return false;
  method.SetResult(plugin()->StopTask(request.taskId, request.timeout));
  return true;
}

bool OnDemandAgent::IsTaskRunning(IPolicyMethod& method) {
  TaskIdRequest request;
  if (!LoadInput(method, request)) return false;
  IOnDemand::TaskState state = IOnDemand::kInactive;
  const uint32_t code = plugin()->IsTaskRunning(request.taskId, state);
  EnterpriseIntegration::Answer(method, code,
                                RunningAnswer{static_cast<uint8_t>(state == IOnDemand::kRunning)});
  return true;
}

bool OnDemandAgent::SetAllTasks(IPolicyMethod& method) {
  SetAllTasksRequest request;
  if (!LoadInput(method, request)) {
    logging::Write(logging::kLevelFailure, L"MailServers::OnDemandAgent::SetAllTasks",
                   L"Could not load tasks");
    return false;
  }
  SetAllTasksAnswer answer;
  const uint32_t code =
      MailServers::SetAllTasks(*plugin(), request.tasks, request.postponeDeletion != 0, answer);
  EnterpriseIntegration::Answer(method, code, answer);
  return true;
}

bool OnDemandAgent::SetUser(IPolicyMethod& method) {
  IOnDemand::UserInfo user;
  if (!LoadInput(method, user)) return false;
  method.SetResult(plugin()->SetUser(user));
  return true;
}

bool OnDemandAgent::GetUser(IPolicyMethod& method) {
  IOnDemand::UserInfo user;
  EnterpriseIntegration::Answer(method, plugin()->GetUser(user), user);
  return true;
}

// Blocks the caller until the run ends. The caller waits from before the
// start, so that a run ending at once is not missed; whatever StartTask
// answers, the wait decides the result (a run already going may still be
// waited for). A second caller for one task is refused before any start.
bool OnDemandAgent::RunTask(IPolicyMethod& method) {
  StartRequest request;
  if (!LoadInput(method, request)) return false;
  const kel::StringW context = WrapContext(Utf8(request.context), PolicyIdOf(method));
  method.SetResult(running_.WaitForCompletion(
      request.taskId, [&] { method.SetResult(plugin()->StartTask(request.taskId, context)); }));
  return true;
}

bool OnDemandAgent::SetAntivirusRules(IPolicyMethod& method) {
  return EnterpriseIntegration::SetRuleSet<TaskAntivirusRules>(
      method,
      [this](const TaskAntivirusRules& request) {
        return antivirus_->SetTaskRules(request.taskId, request.rules);
      },
      [](uint32_t) {});
}

bool OnDemandAgent::GetAntivirusRules(IPolicyMethod& method) {
  TaskIdRequest request;
  if (!LoadInput(method, request)) return false;
  return EnterpriseIntegration::GetRuleSet<av::RuleSet>(
      method, [this, &request](av::RuleSet& rules) {
        return antivirus_->GetTaskRules(request.taskId, rules);
      });
}

bool OnDemandAgent::IsFunctioning() {
  TraceScope trace(Qualified(L"IsFunctioning").c_str());
  try {
    IOnDemand* ondemand = plugin();
    if (!ondemand) return false;
    kel::List<kel::Guid> ids;
    return !MarksNotFunctioning(ondemand->GetTaskIdList(ids));
  } catch (...) {
    return false;
  }
}

uint32_t OnDemandAgent::ReportFeatureStates(IFeatureStateSink* sink) {
  TraceScope trace(Qualified(L"ReportFeatureStates").c_str());
  if (!sink) return kel::result::kBadArguments;
  try {
    bool functioning = false;
    if (IOnDemand* ondemand = plugin()) {
      kel::StringW user;
      uint8_t works = 0;
      int32_t error = kUserStatusUnknownError;
      functioning = ondemand->GetUserStatus(user, works, error) == 0 && works != 0;
    }
    sink->ReportFeature(agentName().c_str(), functioning);
    return kel::result::kSuccess;
  } catch (...) {
    return kel::result::kInternalError;
  }
}

uint32_t OnDemandAgent::Start() {
  running_.Restart();
  return EnterpriseIntegration::Agent<IOnDemand>::Start();
}

void OnDemandAgent::Stop() {
  {
    TraceScope trace(L"MailServers::OnDemandAgent::OnBeforeStop");
    running_.StopAndDrain();
  }
  EnterpriseIntegration::Agent<IOnDemand>::Stop();
}

uint32_t OnDemandAgent::OnPluginsAcquired() {
  if (const uint32_t code = taskEvents_.Register(plugin(), &IOnDemand::RegisterTaskEvents,
                                                 &IOnDemand::UnregisterTaskEvents,
                                                 static_cast<IOnDemand::ITaskEvents*>(this))) {
    return code;
  }
  // A failed second registration fails Init, whose rollback resets the first.
  return settingsEvents_.Register(plugin(), &IOnDemand::RegisterSettingsEvents,
                                  &IOnDemand::UnregisterSettingsEvents,
                                  static_cast<IOnDemand::ISettingsEvents*>(this));
}

// The notifications arrive on the plug-in's threads; each answers 0 whatever
// became of its event.
uint32_t OnDemandAgent::OnTaskStarted(const kel::Guid& id, const kel::StringW& context) {
  try {
    SendBody(*this, kTaskStarted, TaskStartedBody{id, context});
  } catch (...) {
  }
  return 0;
}

uint32_t OnDemandAgent::OnTaskStopped(const kel::Guid& id, const IOnDemand::RunStatistics& stats) {
  running_.OnTaskStopped(id, stats);
  try {
    progress_.Finished(id);
  } catch (...) {
  }
  try {
    SendBody(*this, kTaskStopped, TaskStoppedBody{id, stats});
    if (!stats.report.IsEmpty()) SendScanLog(id, stats);
  } catch (...) {
  }
  return 0;
}

void OnDemandAgent::SendScanLog(const kel::Guid& id, const IOnDemand::RunStatistics& stats) {
  EnterpriseIntegration::IManager* manager = this->manager();
  if (!manager) return;
  ScanLogBody log;
  log.logfilepath = stats.report;
  log.polid = UnwrapContext(stats.context).policyId;
  log.taskid = id;
  log.taskname = stats.name;
  log.starttime = stats.startTime;
  log.runstatus = stats.status;
  log.runsumary = RunSummary(stats);
  Json::Value body;
  if (!JsonSerializer<ScanLogBody>::Save(body, log)) return;
  const uint32_t severity = stats.context.IsEmpty() ? kSeverityOtherRun : kSeverityConsoleRun;
  manager->LogEvent(kScanLogCategory, severity, kScanLogFlags, kScanLog, kScanLogCode,
                    kScanLogCount, &body);
}

uint32_t OnDemandAgent::OnTaskChanged(const kel::Guid& id, uint32_t changeType) {
  // A RunTask waiting for a deleted task would otherwise wait until the stop.
  if (changeType == IOnDemand::kTaskDeleted) running_.Release(id);
  try {
    SendBody(*this, kTaskChanged, TaskChangedBody{id, ReportedChangeType(changeType)});
  } catch (...) {
  }
  return 0;
}

uint32_t OnDemandAgent::OnTaskProgress(const kel::Guid& id, const kel::StringW& context,
                                       uint32_t percentage) {
  try {
    progress_.Progress(id, UnwrapContext(context).context, percentage);
  } catch (...) {
  }
  return 0;
}

uint32_t OnDemandAgent::OnUserSettingsChanged() {
  try {
    IOnDemand* ondemand = plugin();
    if (!ondemand) return 0;
    kel::StringW user;
    uint8_t functioning = 0;
    int32_t error = kUserStatusUnknownError;
    ondemand->GetUserStatus(user, functioning, error);
    SendBody(*this, kUserStatus, UserStatusBody{user, error, functioning});
  } catch (...) {
  }
  return 0;
}

}  // namespace MailServers
