#include "tests/agent/sample_agent/sample_agent.h"

#include "agent/policy_answer.h"
#include "frame/exported_declaration.h"

namespace SampleTest {

using EnterpriseIntegration::Handle;
using EnterpriseIntegration::JsonSerializer;
using kel::nusdk::Sample::SampleSettings;

Agent::Agent(const wchar_t* agentName)
    : EnterpriseIntegration::Agent<kel::nusdk::Sample::ISample>(agentName, L"SampleTest::Agent") {}

EnterpriseIntegration::PolicyMethodTable Agent::PolicyMethods() const {
  static constexpr EnterpriseIntegration::PolicyMethodEntry kMethods[] = {
      {L"SetSettings", Handle<&Agent::SetSettings>,
       EnterpriseIntegration::kInputOf<SampleSettings>, EnterpriseIntegration::kNoOutput},
      {L"GetSettings", Handle<&Agent::GetSettings>, EnterpriseIntegration::kNoInput,
       EnterpriseIntegration::kOutputOf<SampleSettings>},
  };
  return kMethods;
}

bool Agent::SetSettings(IPolicyMethod& method) {
  SampleSettings settings;
  if (!EnterpriseIntegration::LoadInput(method, settings)) return false;
  method.SetResult(plugin()->SetSettings(settings));
  return true;
}

bool Agent::GetSettings(IPolicyMethod& method) {
  SampleSettings settings;
  EnterpriseIntegration::Answer(method, plugin()->GetSettings(settings), settings);
  return true;
}

uint32_t Agent::OnPluginsAcquired() {
  return advice_.Register(plugin(), &kel::nusdk::Sample::ISample::Advise,
                          &kel::nusdk::Sample::ISample::Unadvise,
                          static_cast<kel::nusdk::Sample::ISampleNotifications*>(this));
}

// On the plug-in's thread; the plug-in is always answered 0.
uint32_t Agent::OnSettingsChanged(const SampleSettings& settings) {
  try {
    Json::Value body;
    if (JsonSerializer<SampleSettings>::Save(body, settings)) SendEvent(kChangedEvent, body);
  } catch (...) {
  }
  return 0;
}

}  // namespace SampleTest
