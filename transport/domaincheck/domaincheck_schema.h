#pragma once
// The domain-check rule set that the transport agent sets and reads
// (JsonSerializer<DomainCheck::RuleSet> on the whole {"enabled", "rules"}
// object).
//
// A permitted sender is an IPv4 address in dotted form, "/prefix" optional,
// read by the address type's own parser: exactly four groups of 1 to 3
// digits, each below 256, and a prefix from 1 to 32. It is stricter than a
// loose number conversion per piece would be: blanks, signs, trailing text,
// groups of 256 or more and "/0" are refused rather than read or wrapped.
#include <cstdint>

#include "agent/json/json_serializer.h"
#include "sdk/mailservers/domaincheck.h"
#include "transport/rule_actions.h"
#include "transport/rule_schema.h"

namespace EnterpriseIntegration {

namespace domaincheck {
namespace ns = kel::nusdk::MailServers::DomainCheck;
using Action = kel::nusdk::MailServers::IDomainCheckFilterRule::SecondaryAction::Action;

// The common actions' first four, and no notifications.
inline constexpr auto kSecondaryActionNames = EnumNames({
    {Action::kTagSubject, "tagSubject"},
    {Action::kAddHeader, "addHeader"},
    {Action::kSaveToFolder, "saveToFolder"},
    {Action::kBccTo, "bccTo"},
});

}  // namespace domaincheck

// clang-format off
template <>
struct JsonSchema<domaincheck::ns::ScanSettings> : JsonSchemaBase<domaincheck::ns::ScanSettings> {
  using S = domaincheck::ns::ScanSettings;
  static constexpr auto kFields = Fields(
      //       key                             member                  default
      Required(json_keys::kPermittedSenders,   &S::permittedSenders),  // [IPv4 text]
      Optional(json_keys::kCheckAuthenticated, &S::checkAuthenticated, Default(uint8_t{0})));
};

template <>
struct JsonSchema<domaincheck::ns::SecondaryAction>
    : SecondaryActionSchema<domaincheck::ns::SecondaryAction, domaincheck::kSecondaryActionNames> {};

template <>
struct JsonSchema<domaincheck::ns::OnDetection>
    : MainAndSecondaryActionsSchema<domaincheck::ns::OnDetection> {};

template <>
struct JsonSchema<domaincheck::ns::RuleSet::Rule> : FilterRuleSchema<domaincheck::ns::RuleSet::Rule> {};

template <>
struct JsonSchema<domaincheck::ns::RuleSet> : RuleSetEnvelopeSchema<domaincheck::ns::RuleSet> {};
// clang-format on

}  // namespace EnterpriseIntegration
