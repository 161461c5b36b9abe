#pragma once
// The JSON form of what every transport filter rule shares: the rule header
// with its scope ("processIf"), the traffic and address-form flag sets, and
// the common action tables. Each filter's rule schema pulls the header in with
// InlineBase<RuleHeader>() and ends with StopProcessingField<Rule>().
#include "agent/json/json_schema_writer.h"
#include "agent/json/json_serializer.h"
#include "sdk/mailservers/rule_common.h"

namespace EnterpriseIntegration {

namespace rules {

inline constexpr auto kTrafficNames = FlagNames({
    {kel::nusdk::MailServers::kTrafficIncoming, "incoming"},
    {kel::nusdk::MailServers::kTrafficOutgoing, "outgoing"},
    {kel::nusdk::MailServers::kTrafficInternal, "internal"},
});

// Unlike the traffic set, unknown address forms are passed over; at least one
// known form is still required.
inline constexpr auto kAddressFormNames =
    FlagNames({
                  {kel::nusdk::MailServers::kAddressConnection, "connection"},
                  {kel::nusdk::MailServers::kAddressEmail, "email"},
              })
        .SkippingUnknownNames();

// The main actions most filters share. The attachment filter numbers its own
// differently; see there.
inline constexpr auto kCommonMainActionNames = EnumNames({
    {0, "rejectOrDeleteEmail"},
    {1, "redirectEmail"},
    {2, "quarantineEmail"},
    {3, "deliverEmail"},
});
inline constexpr uint32_t kCommonRedirectEmail = 1;

// The antispam numbering of secondary actions; the other filters keep their
// own tables on purpose (content moves the notifications to 4 and 5).
inline constexpr auto kCommonSecondaryActionNames = EnumNames({
    {0, "tagSubject"},
    {1, "addHeader"},
    {2, "saveToFolder"},
    {3, "bccTo"},
    {4, "addSCLHeader"},
    {5, "notifyInternalRecipients"},
    {6, "notifyRecipients"},
});

}  // namespace rules

// A sender or recipient condition. Written by hand rather than as a schema,
// because of the user list's two keys: "users" is read when present, else
// "emails"; the list is always written as "emails", never as "users".
struct ConditionCodec : JsonCodec {
  bool Load(const JsonNodeRef& at, kel::nusdk::MailServers::Condition& out) const;
  bool Save(const kel::nusdk::MailServers::Condition& value, Json::Value& out) const;
  void Describe(SchemaDirection direction, Json::Value& out) const;
};
template <>
struct DefaultCodecFor<kel::nusdk::MailServers::Condition> {
  using type = ConditionCodec;
};

namespace rules {
// A condition whose "consider" is empty is no condition: it is not written,
// so that what was saved always loads again.
inline bool HasSentBy(const kel::nusdk::MailServers::Scope& s) { return s.sentBy.consider != 0; }
inline bool HasSentTo(const kel::nusdk::MailServers::Scope& s) { return s.sentTo.consider != 0; }
}  // namespace rules

// "processIf"
// clang-format off
template <>
struct JsonSchema<kel::nusdk::MailServers::Scope>
    : JsonSchemaBase<kel::nusdk::MailServers::Scope> {
  using S = kel::nusdk::MailServers::Scope;
  static constexpr auto kFields = Fields(
      //       key                   member       conversion, default
      Optional(json_keys::kTraffic,  &S::traffic, rules::kTrafficNames,
                                                  Default(uint32_t{kel::nusdk::MailServers::kTrafficAll})),
      Optional(json_keys::kSentBy,   &S::sentBy,  Default(), kLoadOnly),
      Optional(json_keys::kSentBy,   &S::sentBy,  kSaveOnly, When(rules::HasSentBy)),
      Optional(json_keys::kSentTo,   &S::sentTo,  Default(), kLoadOnly),
      Optional(json_keys::kSentTo,   &S::sentTo,  kSaveOnly, When(rules::HasSentTo)));
};
// clang-format on

// The rule header. "name" is the one header key whose failure fails the rule;
// "enabled" and "description" may be left out, but fail the rule when present
// and malformed; the processing flags are read on a best-effort basis.
// clang-format off
template <>
struct JsonSchema<kel::nusdk::MailServers::RuleHeader>
    : JsonSchemaBase<kel::nusdk::MailServers::RuleHeader> {
  using S = kel::nusdk::MailServers::RuleHeader;
  static constexpr auto kFields = Fields(
      //         key                                    member                    how
      Optional(  json_keys::kEnabled,                   &S::enabled),
      Required(  json_keys::kName,                      &S::name),
      Optional(  json_keys::kDescription,               &S::description),
      BestEffort(json_keys::kDetectionWithoutScan,      &S::detectionWithoutScan),
      // Absent: all traffic, no sender or recipient restriction.
      Optional(  json_keys::kProcessIf,                 &S::scope,                Default()),
      // The nested flag, then the same flag at the rule's top level.
      BestEffort(json_keys::kOnDetectionStopProcessing, &S::stopProcessing,       kLoadOnly),
      BestEffort(json_keys::kStopProcessing,            &S::stopProcessing,       kLoadOnly));
};
// clang-format on

// The stop flag is saved inside the rule's "onDetection" object, which the
// filter's own schema writes whole after the header; so every rule schema
// ends with this field, which adds the flag to that object.
template <class Rule>
constexpr auto StopProcessingField() {
  return JsonSchemaBase<Rule>::Optional(json_keys::kOnDetectionStopProcessing,
                                        &kel::nusdk::MailServers::RuleHeader::stopProcessing,
                                        JsonSchemaBase<Rule>::kSaveOnly);
}

// A rule of a filter whose rule is the shared header, its own "scanSettings"
// and "onDetection", and the stop flag saved last.
// clang-format off
template <class Rule>
struct FilterRuleSchema : JsonSchemaBase<Rule> {
  using B = JsonSchemaBase<Rule>;
  static constexpr auto kFields = B::Fields(
      B::template InlineBase<kel::nusdk::MailServers::RuleHeader>(),
      B::Required(json_keys::kScanSettings, &Rule::scanSettings),
      B::Required(json_keys::kOnDetection,  &Rule::onDetection),
      StopProcessingField<Rule>());
};
// clang-format on

// "onDetection" of the filters that act by one main action and a list of
// secondary actions (none when the list is absent).
// clang-format off
template <class OnDetection>
struct MainAndSecondaryActionsSchema : JsonSchemaBase<OnDetection> {
  using B = JsonSchemaBase<OnDetection>;
  static constexpr auto kFields = B::Fields(
      B::Required(json_keys::kMainAction,       &OnDetection::mainAction),
      B::Optional(json_keys::kSecondaryActions, &OnDetection::secondaryActions, B::Default()));
};
// clang-format on

// {"enabled", "rules"}: every filter's rule set, the rules in evaluation order.
// A filter adds its own Check by deriving.
// clang-format off
template <class RuleSet>
struct RuleSetEnvelopeSchema : JsonSchemaBase<RuleSet> {
  using B = JsonSchemaBase<RuleSet>;
  static constexpr auto kFields = B::Fields(
      B::Required(json_keys::kEnabled, &RuleSet::enabled),  // boolean
      B::Required(json_keys::kRules,   &RuleSet::rules));   // [Rule]
};
// clang-format on

// "notifyInternalRecipients" data: both parties are told unless said otherwise.
// clang-format off
template <>
struct JsonSchema<kel::nusdk::MailServers::NotifyData>
    : JsonSchemaBase<kel::nusdk::MailServers::NotifyData> {
  using S = kel::nusdk::MailServers::NotifyData;
  static constexpr auto kFields = Fields(
      Optional("sender",    &S::sender,    Default(uint8_t{1})),
      Optional("receivers", &S::receivers, Default(uint8_t{1})));
};
// clang-format on

}  // namespace EnterpriseIntegration
