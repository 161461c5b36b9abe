#pragma once
// The on-demand agent: the console's handle on the plug-in's scan tasks. It
// serves sixteen methods (adding, reading, synchronising, starting, stopping
// and running tasks, the plug-in's credentials, and each task's antivirus
// rules), and turns the plug-in's task and settings notifications into events.
#include "agent/agent.h"
#include "ondemand/ondemand_plugin.h"
#include "ondemand/progress_reporter.h"
#include "ondemand/running_tasks.h"
#include "transport/antivirus/antivirus_plugin.h"

namespace MailServers {

inline constexpr wchar_t kOnDemandAgentName[] = L"MailServers.OnDemand";

class OnDemandAgent final : public EnterpriseIntegration::Agent<kel::nusdk::MailServers::IOnDemand>,
                            private kel::nusdk::MailServers::IOnDemand::ITaskEvents,
                            private kel::nusdk::MailServers::IOnDemand::ISettingsEvents {
 public:
  explicit OnDemandAgent(const wchar_t* agentName = kOnDemandAgentName,
                         kel::Clock& clock = kel::SystemClock::Instance());

  bool GetTaskIdList(IPolicyMethod& method);
  bool GetRunningTasks(IPolicyMethod& method);
  bool AddTask(IPolicyMethod& method);
  bool UpdateTask(IPolicyMethod& method);
  bool GetTask(IPolicyMethod& method);
  bool DeleteTask(IPolicyMethod& method);
  bool DeleteAllTasks(IPolicyMethod& method);
  bool StartTask(IPolicyMethod& method);
  bool StopTask(IPolicyMethod& method);
  bool IsTaskRunning(IPolicyMethod& method);
  bool SetAllTasks(IPolicyMethod& method);
  bool SetUser(IPolicyMethod& method);
  bool GetUser(IPolicyMethod& method);
  bool RunTask(IPolicyMethod& method);
  bool SetAntivirusRules(IPolicyMethod& method);
  bool GetAntivirusRules(IPolicyMethod& method);

  EnterpriseIntegration::PolicyMethodTable PolicyMethods() const override;
  EnterpriseIntegration::EventTable Events() const override;

  // Not functioning only when the plug-in's task store is unreachable.
  bool IsFunctioning() override;
  // One feature, the agent's name, on when the plug-in's user can work.
  uint32_t ReportFeatureStates(IFeatureStateSink* sink) override;
  // Serves synchronous runs again after a stop.
  uint32_t Start() override;
  // Releases every waiting RunTask (1067) and waits until all have left.
  void Stop() override;

 private:
  uint32_t OnPluginsAcquired() override;

  uint32_t OnTaskStarted(const kel::Guid& id, const kel::StringW& context) override;
  uint32_t OnTaskStopped(const kel::Guid& id,
                         const kel::nusdk::MailServers::IOnDemand::RunStatistics& stats) override;
  uint32_t OnTaskChanged(const kel::Guid& id, uint32_t changeType) override;
  uint32_t OnTaskProgress(const kel::Guid& id, const kel::StringW& context,
                          uint32_t percentage) override;
  uint32_t OnUserSettingsChanged() override;

  void SendScanLog(const kel::Guid& id,
                   const kel::nusdk::MailServers::IOnDemand::RunStatistics& stats);

  EnterpriseIntegration::ServPlugin<kel::nusdk::MailServers::Antivirus::IAntivirus>& antivirus_;
  RunningTasks running_;
  OdProgressReporter progress_;
  // Last: gone from the plug-in before anything the callbacks use.
  EnterpriseIntegration::NotificationRegistration taskEvents_{*this};
  EnterpriseIntegration::NotificationRegistration settingsEvents_{*this};
};

}  // namespace MailServers
