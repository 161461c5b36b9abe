#pragma once
// The JSON form of the content filter's rule set. The rules carry the common
// header; what is looked for (subject and body matches) and the actions are
// this filter's own, with its own secondary-action numbering.
//
// The transport agent loads and saves the whole rule set document with
// JsonSerializer<kel::nusdk::MailServers::Content::RuleSet>.
#include <cstdint>

#include "agent/json/json_schema_writer.h"
#include "agent/json/json_serializer.h"
#include "sdk/mailservers/content.h"
#include "transport/rule_actions.h"
#include "transport/rule_schema.h"

namespace EnterpriseIntegration {

namespace content {

using RuleSet = kel::nusdk::MailServers::Content::RuleSet;
using ScanSettings = RuleSet::ScanningRule::ScanSettings;
using Match = ScanSettings::Match;
using OnDetection = RuleSet::ScanningRule::OnDetection;
using SecondaryAction = kel::nusdk::MailServers::IContentFilterRule::SecondaryAction;

inline constexpr auto kEngineNames = EnumNames({
    {ScanSettings::kEngineText, "text"},
    {ScanSettings::kEngineRegexp, "regexp"},
});

// Not the common secondary-action table: there is no "addSCLHeader" here,
// so the two notifications are 4 and 5 instead of 5 and 6.
inline constexpr auto kSecondaryActionNames = EnumNames({
    {SecondaryAction::kTagSubject, "tagSubject"},
    {SecondaryAction::kAddHeader, "addHeader"},
    {SecondaryAction::kSaveToFolder, "saveToFolder"},
    {SecondaryAction::kBccTo, "bccTo"},
    {SecondaryAction::kNotifyInternalRecipients, "notifyInternalRecipients"},
    {SecondaryAction::kNotifyRecipients, "notifyRecipients"},
});

// For When(): the secondary actions whose "data" is a plain string.
struct DataIsText {
  template <class S>
  constexpr bool operator()(const S& s) const noexcept {
    return s.action <= SecondaryAction::kBccTo;
  }
};
struct IsNotRedirect {
  template <class S>
  constexpr bool operator()(const S& s) const noexcept {
    return s.action != rules::kCommonRedirectEmail;
  }
};

// A Match whose engine has no name has no JSON form: it is never written
// with the engine left out, nor as a number. Neither can the document that
// holds it be written, so saving it throws, past the list and rule levels
// (which have no failure path when saving), to JsonSerializer::Save, which
// answers false.
struct MatchCodec : JsonCodec {
  bool Load(const JsonNodeRef& at, Match& out) const;
  bool Save(const Match& value, Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
};

}  // namespace content

template <>
struct DefaultCodecFor<content::Match> {
  using type = content::MatchCodec;
};

// clang-format off
template <>
struct JsonSchema<content::Match> : JsonSchemaBase<content::Match> {
  using S = content::Match;
  static constexpr auto kFields = Fields(
      //       key                     member          conversion
      Required(json_keys::kFind,       &S::find),                          // [string]
      Optional(json_keys::kWholeWord,  &S::wholeWord),                     // boolean
      Optional(json_keys::kIgnoreCase, &S::ignoreCase),                    // boolean
      Required(json_keys::kEngine,     &S::engine,     content::kEngineNames));
};

// "subject" and "body" under "scanSettings".
template <>
struct JsonSchema<content::ScanSettings::MessagePart>
    : JsonSchemaBase<content::ScanSettings::MessagePart> {
  using S = content::ScanSettings::MessagePart;
  static constexpr auto kFields = Fields(
      Required(json_keys::kMatch, &S::match));  // [Match]
};

template <>
struct JsonSchema<content::ScanSettings> : JsonSchemaBase<content::ScanSettings> {
  using S = content::ScanSettings;
  static constexpr auto kFields = Fields(
      //       key                  member        default when absent
      Optional(json_keys::kBody,    &S::body,     Default()),   // no matches
      Optional(json_keys::kSubject, &S::subject,  Default()));  // no matches
};

// The common main actions, but the redirect address is in "data", not in
// "address"; other actions may carry "data" too.
template <>
struct JsonSchema<content::OnDetection::MainAction>
    : JsonSchemaBase<content::OnDetection::MainAction> {
  using S = content::OnDetection::MainAction;
  static constexpr auto kFields = Fields(
      //       key                 member      conversion, presence
      Required(json_keys::kAction, &S::action, rules::kCommonMainActionNames),
      Required(json_keys::kData,   &S::data,   When(rules::ActionIs<rules::kCommonRedirectEmail>())),
      Optional(json_keys::kData,   &S::data,   When(content::IsNotRedirect())));
  // A redirect needs somewhere to go.
  static constexpr char kCheckRule[] = "\"redirectEmail\" has a non-empty \"data\".";
  static bool Check(const S& s) {
    return s.action != rules::kCommonRedirectEmail || !s.data.IsEmpty();
  }
};

// The form of "data" follows from the action, read first. Not the shared
// SecondaryActionSchema: here "extraData" is optional for every action (and
// always written), where the shared shape requires it for "addHeader" and
// has none for the folder, copy and notification actions.
template <>
struct JsonSchema<content::OnDetection::SecondaryAction>
    : JsonSchemaBase<content::OnDetection::SecondaryAction> {
  using S = content::OnDetection::SecondaryAction;
  using A = content::SecondaryAction;
  static constexpr auto kFields = Fields(
      //       key                    member          conversion, presence
      Required(json_keys::kAction,    &S::action,     content::kSecondaryActionNames),
      Required(json_keys::kData,      &S::data,       When(content::DataIsText())),
      Required(json_keys::kData,      &S::notify,     When(rules::ActionIs<A::kNotifyInternalRecipients>())),
      Required(json_keys::kData,      &S::recipients, When(rules::ActionIs<A::kNotifyRecipients>())),
      Optional(json_keys::kExtraData, &S::extraData));
};

template <>
struct JsonSchema<content::OnDetection>
    : MainAndSecondaryActionsSchema<content::OnDetection> {};

template <>
struct JsonSchema<content::RuleSet::Rule> : JsonSchemaBase<content::RuleSet::Rule> {
  using S = content::RuleSet::Rule;
  static constexpr auto kFields = Fields(
      InlineBase<kel::nusdk::MailServers::RuleHeader>(),
      //       key                       member            default when absent
      Optional(json_keys::kScanSettings, &S::scanSettings, Default()),  // no matches
      Required(json_keys::kOnDetection,  &S::onDetection),
      StopProcessingField<S>());
};

template <>
struct JsonSchema<content::RuleSet> : RuleSetEnvelopeSchema<content::RuleSet> {};
// clang-format on

}  // namespace EnterpriseIntegration
