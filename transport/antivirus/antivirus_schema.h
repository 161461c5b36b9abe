#pragma once
// The JSON form of the antivirus plug-in's records: the rule set (loaded and
// saved by the transport agent, with the redirect check after the whole
// load), the replacement texts and the footer requests of the antivirus
// agent's own methods.
#include <cstdint>

#include "agent/json/json_schema_writer.h"
#include "agent/json/json_serializer.h"
#include "sdk/mailservers/antivirus.h"
#include "transport/rule_schema.h"

namespace EnterpriseIntegration {

namespace antivirus {

// The plug-in's action codes exactly, gaps and high bytes included.
inline constexpr auto kActionNames = EnumNames({
    {kel::nusdk::MailServers::IAntivirusFilterRule::kIgnoreFile, "ignoreFile"},
    {kel::nusdk::MailServers::IAntivirusFilterRule::kDisinfect, "disinfect"},
    {kel::nusdk::MailServers::IAntivirusFilterRule::kDeleteFile, "deleteFile"},
    {kel::nusdk::MailServers::IAntivirusFilterRule::kQuarantineFile, "quarantineFile"},
    {kel::nusdk::MailServers::IAntivirusFilterRule::kDisinfectFile, "disinfectFile"},
    {kel::nusdk::MailServers::IAntivirusFilterRule::kQuarantineEmail, "quarantineEmail"},
    {kel::nusdk::MailServers::IAntivirusFilterRule::kRedirectEmail, "redirectEmail"},
    {kel::nusdk::MailServers::IAntivirusFilterRule::kReplaceFile, "replaceFile"},
    {kel::nusdk::MailServers::IAntivirusFilterRule::kRejectOrDeleteEmail, "rejectOrDeleteEmail"},
});

inline constexpr auto kExtensionModeNames = EnumNames({
    {kel::nusdk::MailServers::Antivirus::kAllFiles, "all"},
    {kel::nusdk::MailServers::Antivirus::kExecutables, "executables"},
    {kel::nusdk::MailServers::Antivirus::kSpecificExtensions, "specific"},
    {kel::nusdk::MailServers::Antivirus::kAllExceptSpecific, "allExceptSpecific"},
});

// Not the common secondary-action table: the antivirus filter has only the
// two notifications, numbered from 0, and both carry the notification data
// (who is told), "notifyRecipients" included.
inline constexpr auto kSecondaryActionNames = EnumNames({
    {kel::nusdk::MailServers::Antivirus::kNotifyInternalRecipients, "notifyInternalRecipients"},
    {kel::nusdk::MailServers::Antivirus::kNotifyRecipients, "notifyRecipients"},
});

// A footer reader names one direction; the names are the traffic flags'.
inline constexpr auto kFooterTypeNames = EnumNames({
    {kel::nusdk::MailServers::kTrafficIncoming, "incoming"},
    {kel::nusdk::MailServers::kTrafficOutgoing, "outgoing"},
    {kel::nusdk::MailServers::kTrafficInternal, "internal"},
});

// Where the redirect check logs its refusal.
inline constexpr wchar_t kRedirectCheckFunction[] =
    L"JsonSerializer<Antivirus::TransportRuleSet>::findRuleMissingRedirectTo";

// False (and logged) when a rule redirects infected or suspect items without
// a target. Unscannable items are deliberately not checked.
bool CheckRedirectTargets(const kel::nusdk::MailServers::Antivirus::RuleSet& rules);

// The footer requests of the agent's methods. A writer takes a mask of
// directions, a reader one direction.
struct FooterSwitch {  // "SetFooterEnabled"
  uint32_t types = 0;
  uint8_t enabled = 0;
};
struct FooterState {  // "IsFooterEnabled": in "type", out "enabled"
  uint32_t type = 0;
  uint8_t enabled = 0;
};
struct FooterSetting {  // "SetFooter"
  uint32_t types = 0;
  kel::StringW footer;
};
struct FooterText {  // "GetFooter": in "type", out "footer" and "type" again
  uint32_t type = 0;
  kel::StringW footer;
};

}  // namespace antivirus

// A footer writer's directions: an array of names ORed into a mask. Unlike a
// rule's "traffic", an empty array is a valid mask of 0 (the plug-in is asked
// to change no direction).
struct FooterTypesCodec : JsonCodec {
  bool Load(const JsonNodeRef& at, uint32_t& out) const;
  bool Save(const uint32_t& value, Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
};

// "maxArchiveDepth": the plug-in's unlimited depth 16 is -1 in JSON, both
// ways; -1 is also accepted as its unsigned pattern 4294967295. Any other
// depth is itself.
struct ArchiveDepthCodec : JsonCodec {
  bool Load(const JsonNodeRef& at, int32_t& out) const;
  bool Save(const int32_t& value, Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
};

// Replacement texts come in two forms. With "scanned" present, the nested
// form: "scanned" and "unscannable", each {"replaced", "quarantined"}, all
// required. Otherwise the flat form: "replaced" and "quarantined" at the
// object's own level are the scanned pair, and the unscannable pair is empty.
// "moreInformation" is required in both. Always saved nested.
struct ReplacementTextsCodec : JsonCodec {
  bool Load(const JsonNodeRef& at, kel::nusdk::MailServers::Antivirus::ReplacementTexts& out) const;
  bool Save(const kel::nusdk::MailServers::Antivirus::ReplacementTexts& value,
            Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
};
template <>
struct DefaultCodecFor<kel::nusdk::MailServers::Antivirus::ReplacementTexts> {
  using type = ReplacementTextsCodec;
};

// clang-format off
template <>
struct JsonSchema<kel::nusdk::MailServers::Antivirus::ReplacementTexts::Pair>
    : JsonSchemaBase<kel::nusdk::MailServers::Antivirus::ReplacementTexts::Pair> {
  using S = kel::nusdk::MailServers::Antivirus::ReplacementTexts::Pair;
  static constexpr auto kFields = Fields(
      Required(json_keys::kReplaced,    &S::replaced),
      Required(json_keys::kQuarantined, &S::quarantined));
};

// The nested form, the one that is saved.
template <>
struct JsonSchema<kel::nusdk::MailServers::Antivirus::ReplacementTexts>
    : JsonSchemaBase<kel::nusdk::MailServers::Antivirus::ReplacementTexts> {
  using S = kel::nusdk::MailServers::Antivirus::ReplacementTexts;
  static constexpr auto kFields = Fields(
      Required(json_keys::kScanned,         &S::scanned),
      Required(json_keys::kUnscannable,     &S::unscannable),
      Required(json_keys::kMoreInformation, &S::moreInformation));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Antivirus::RuleSet::ScanSettings::Extensions>
    : JsonSchemaBase<kel::nusdk::MailServers::Antivirus::RuleSet::ScanSettings::Extensions> {
  using S = kel::nusdk::MailServers::Antivirus::RuleSet::ScanSettings::Extensions;
  static constexpr auto kFields = Fields(
      //       key                   member         conversion, default
      Required(json_keys::kMode,     &S::mode,      antivirus::kExtensionModeNames),
      Optional(json_keys::kSpecific, &S::specific,  Default()));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Antivirus::RuleSet::ScanSettings::ThreatTypes>
    : JsonSchemaBase<kel::nusdk::MailServers::Antivirus::RuleSet::ScanSettings::ThreatTypes> {
  using S = kel::nusdk::MailServers::Antivirus::RuleSet::ScanSettings::ThreatTypes;
  static constexpr auto kFields = Fields(
      Optional(json_keys::kSpyware,    &S::spyware,    Default(uint8_t{1})),
      Optional(json_keys::kAdware,     &S::adware,     Default(uint8_t{1})),
      Optional(json_keys::kDialers,    &S::dialers,    Default(uint8_t{1})),
      Optional(json_keys::kKeyloggers, &S::keyloggers, Default(uint8_t{1})),
      Optional(json_keys::kPUA,        &S::pua,        Default(uint8_t{1})));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Antivirus::RuleSet::ScanSettings>
    : JsonSchemaBase<kel::nusdk::MailServers::Antivirus::RuleSet::ScanSettings> {
  using S = kel::nusdk::MailServers::Antivirus::RuleSet::ScanSettings;
  static constexpr auto kFields = Fields(
      //       key                          member               conversion, default
      Optional(json_keys::kMaxFileSize,     &S::maxFileSize,     Default()),
      Optional(json_keys::kMaxArchiveDepth, &S::maxArchiveDepth, ArchiveDepthCodec(),
                                            Default(kel::nusdk::MailServers::Antivirus::kUnlimitedArchiveDepth)),
      Required(json_keys::kExtensions,      &S::extensions),
      Optional(json_keys::kThreatTypes,     &S::threatTypes,     Default()));  // all true
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Antivirus::RuleSet::OnDetection::Actions>
    : JsonSchemaBase<kel::nusdk::MailServers::Antivirus::RuleSet::OnDetection::Actions> {
  using S = kel::nusdk::MailServers::Antivirus::RuleSet::OnDetection::Actions;
  static constexpr auto kFields = Fields(
      Required(json_keys::kInfected,    &S::infected,    antivirus::kActionNames),
      Required(json_keys::kSuspect,     &S::suspect,     antivirus::kActionNames),
      Optional(json_keys::kUnscannable, &S::unscannable, antivirus::kActionNames, Default()));
};

// Not rule_actions.h's secondary action: here every action's "data" is the
// notification data.
template <>
struct JsonSchema<kel::nusdk::MailServers::Antivirus::RuleSet::OnDetection::SecondaryAction>
    : JsonSchemaBase<kel::nusdk::MailServers::Antivirus::RuleSet::OnDetection::SecondaryAction> {
  using S = kel::nusdk::MailServers::Antivirus::RuleSet::OnDetection::SecondaryAction;
  static constexpr auto kFields = Fields(
      Required(json_keys::kAction, &S::action, antivirus::kSecondaryActionNames),
      Required(json_keys::kData,   &S::data));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Antivirus::RuleSet::OnDetection>
    : JsonSchemaBase<kel::nusdk::MailServers::Antivirus::RuleSet::OnDetection> {
  using S = kel::nusdk::MailServers::Antivirus::RuleSet::OnDetection;
  static constexpr auto kFields = Fields(
      //       key                           member                conversion, default
      Required(json_keys::kActions,          &S::actions),
      Optional(json_keys::kSecondaryActions, &S::secondaryActions, Default()),
      Optional(json_keys::kReplacementTexts, &S::replacementTexts, Default()),
      // The redirect target; written even when empty.
      Optional(json_keys::kRedirectEmailTo,  &S::redirectEmailTo,  Default()));
};

template <>
struct JsonSchema<kel::nusdk::MailServers::Antivirus::RuleSet::Rule>
    : FilterRuleSchema<kel::nusdk::MailServers::Antivirus::RuleSet::Rule> {};

// The whole rule set; the redirect check runs once every rule has loaded.
template <>
struct JsonSchema<kel::nusdk::MailServers::Antivirus::RuleSet>
    : RuleSetEnvelopeSchema<kel::nusdk::MailServers::Antivirus::RuleSet> {
  using S = kel::nusdk::MailServers::Antivirus::RuleSet;
  static constexpr char kCheckRule[] =
      "a rule that redirects infected or suspect mail has a non-empty \"redirectEmailTo\".";
  static bool Check(const S& s) { return antivirus::CheckRedirectTargets(s); }
};

// The footer requests.
template <>
struct JsonSchema<antivirus::FooterSwitch> : JsonSchemaBase<antivirus::FooterSwitch> {
  using S = antivirus::FooterSwitch;
  static constexpr auto kFields = Fields(
      Required(json_keys::kEnabled, &S::enabled),
      Required(json_keys::kType,    &S::types,   FooterTypesCodec()));
};

template <>
struct JsonSchema<antivirus::FooterState> : JsonSchemaBase<antivirus::FooterState> {
  using S = antivirus::FooterState;
  static constexpr auto kFields = Fields(
      Required(json_keys::kType,    &S::type,    antivirus::kFooterTypeNames, kLoadOnly),
      Required(json_keys::kEnabled, &S::enabled, kSaveOnly));
};

template <>
struct JsonSchema<antivirus::FooterSetting> : JsonSchemaBase<antivirus::FooterSetting> {
  using S = antivirus::FooterSetting;
  static constexpr auto kFields = Fields(
      Required(json_keys::kType,   &S::types,  FooterTypesCodec()),
      Required(json_keys::kFooter, &S::footer));
};

template <>
struct JsonSchema<antivirus::FooterText> : JsonSchemaBase<antivirus::FooterText> {
  using S = antivirus::FooterText;
  static constexpr auto kFields = Fields(
      Required(json_keys::kType,   &S::type,   antivirus::kFooterTypeNames),
      Required(json_keys::kFooter, &S::footer, kSaveOnly));
};
// clang-format on

}  // namespace EnterpriseIntegration
