#pragma once
// An agent that exists only for the tests: it proves the framework end to end
// (lifecycle, dispatch, serialization, notifications to events) on the sample
// plug-in, through the real exports of a module DLL and through kelhost.
#include "agent/agent.h"
#include "agent/json/json_serializer.h"
#include "sdk/sample/isample.h"

namespace EnterpriseIntegration {
template <>
struct PluginTraits<kel::nusdk::Sample::ISample> {
  static constexpr const kel::InterfaceId& kIid = kel::nusdk::Sample::IID_ISample;
  static constexpr const wchar_t* kTypeName = L"struct kel::nusdk::Sample::ISample";
};

inline constexpr auto kSampleLevelNames = EnumNames({
    {1, "low"},
    {2, "medium"},
    {4, "high"},
});

// clang-format off
template <>
struct JsonSchema<kel::nusdk::Sample::SampleSettings>
    : JsonSchemaBase<kel::nusdk::Sample::SampleSettings> {
  using S = kel::nusdk::Sample::SampleSettings;
  static constexpr auto kFields = Fields(
      //       key          member         conversion, default
      Required("name",      &S::name),
      Optional("enabled",   &S::enabled,   Default(uint8_t{1})),
      Required("level",     &S::level,     kSampleLevelNames),
      Optional("servers",   &S::servers));
  // A disabled sample cannot name servers.
  static bool Check(const S& s) { return s.enabled || s.servers.Count() == 0; }
};
// clang-format on
}  // namespace EnterpriseIntegration

namespace SampleTest {

inline constexpr wchar_t kChangedEvent[] = L"Test.Sample.Changed";

class Agent final : public EnterpriseIntegration::Agent<kel::nusdk::Sample::ISample>,
                    private kel::nusdk::Sample::ISampleNotifications {
 public:
  explicit Agent(const wchar_t* agentName);

  bool SetSettings(IPolicyMethod& method);
  bool GetSettings(IPolicyMethod& method);

  EnterpriseIntegration::PolicyMethodTable PolicyMethods() const override;

 private:
  uint32_t OnPluginsAcquired() override;
  uint32_t OnSettingsChanged(const kel::nusdk::Sample::SampleSettings& settings) override;

  EnterpriseIntegration::NotificationRegistration advice_{*this};
};

}  // namespace SampleTest
