#include "ondemand/kel_ondemand_agent.h"

#include "ondemand/ondemand_events.h"
#include "ondemand/task_context.h"

namespace MailServers {

using kel::nusdk::MailServers::IOnDemand;

namespace {
constexpr wchar_t kProgressEvent[] = L"kel.MailServers.OnDemand.TaskProgress";
}  // namespace

KelOnDemandAgent::KelOnDemandAgent() : KelOnDemandAgent(kel::SystemClock::Instance()) {}

KelOnDemandAgent::KelOnDemandAgent(kel::Clock& clock)
    : EnterpriseIntegration::Agent<IOnDemand>(kKelOnDemandAgentName, L"KelOnDemandAgent",
                                              kel::nusdk::MailServers::kOnDemandComponentName),
      progress_(
          [this](const OdProgressReporter::OdProgress& progress) {
            return SendEvent(kProgressEvent, ProgressEventBody(progress),
                             EnterpriseIntegration::kEventOrdinary);
          },
          clock) {}

EnterpriseIntegration::EventTable KelOnDemandAgent::Events() const {
  static constexpr EnterpriseIntegration::EventEntry kEvents[] = {
      {kProgressEvent, EnterpriseIntegration::kBodyOf<ProgressBody>},
  };
  return kEvents;
}

uint32_t KelOnDemandAgent::OnPluginsAcquired() {
  return taskEvents_.Register(plugin(), &IOnDemand::RegisterTaskEvents,
                              &IOnDemand::UnregisterTaskEvents,
                              static_cast<IOnDemand::ITaskEvents*>(this));
}

uint32_t KelOnDemandAgent::OnTaskStarted(const kel::Guid&, const kel::StringW&) { return 0; }

uint32_t KelOnDemandAgent::OnTaskStopped(const kel::Guid& id, const IOnDemand::RunStatistics&) {
  try {
    progress_.Finished(id);
  } catch (...) {
  }
  return 0;
}

uint32_t KelOnDemandAgent::OnTaskChanged(const kel::Guid&, uint32_t) { return 0; }

uint32_t KelOnDemandAgent::OnTaskProgress(const kel::Guid& id, const kel::StringW& context,
                                          uint32_t percentage) {
  try {
    progress_.Progress(id, UnwrapContext(context).context, percentage);
  } catch (...) {
  }
  return 0;
}

}  // namespace MailServers
