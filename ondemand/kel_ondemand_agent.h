#pragma once
// A per-call object that serves no methods: it listens to the plug-in's task
// notifications and forwards the progress of runs, throttled, as
// "kel.MailServers.OnDemand.TaskProgress" (option word 0). Each create makes
// one; the caller owns it until it gives it back.
#include "agent/agent.h"
#include "ondemand/ondemand_plugin.h"
#include "ondemand/progress_reporter.h"

namespace MailServers {

inline constexpr wchar_t kKelOnDemandAgentName[] = L"kel.MailServers.OnDemand";
inline constexpr wchar_t kKelOnDemandClassName[] = L"kel.MailServers.OnDemand.Agent";

class KelOnDemandAgent final
    : public EnterpriseIntegration::Agent<kel::nusdk::MailServers::IOnDemand>,
      private kel::nusdk::MailServers::IOnDemand::ITaskEvents {
 public:
  // Registered under a whole class name, so it names itself.
  KelOnDemandAgent();
  explicit KelOnDemandAgent(kel::Clock& clock);

 private:
  uint32_t OnPluginsAcquired() override;
  EnterpriseIntegration::EventTable Events() const override;

  uint32_t OnTaskStarted(const kel::Guid& id, const kel::StringW& context) override;
  uint32_t OnTaskStopped(const kel::Guid& id,
                         const kel::nusdk::MailServers::IOnDemand::RunStatistics& stats) override;
  uint32_t OnTaskChanged(const kel::Guid& id, uint32_t changeType) override;
  uint32_t OnTaskProgress(const kel::Guid& id, const kel::StringW& context,
                          uint32_t percentage) override;

  OdProgressReporter progress_;
  EnterpriseIntegration::NotificationRegistration taskEvents_{*this};  // last
};

}  // namespace MailServers
