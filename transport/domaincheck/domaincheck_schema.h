#pragma once
// The domain-check rule set that the transport agent sets and reads
// (JsonSerializer<DomainCheck::RuleSet> on the whole {"enabled", "rules"}
// object).
//
// A permitted sender is an IPv4 address in dotted form, "/prefix" optional,
// read by the address type's own parser (frame/ipv4.h): exactly four groups,
// each converted by the standard decimal rules (blanks before and text after
// the digits are taken, as std::stoi takes them) and below 256, and a prefix
// of 1 or 2 digits from 1 to 32.
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
    : SecondaryActionSchema<domaincheck::ns::SecondaryAction, domaincheck::kSecondaryActionNames,
                            /*kExtraDataOnEveryItem=*/true> {};

template <>
struct JsonSchema<domaincheck::ns::OnDetection>
    : MainAndSecondaryActionsSchema<domaincheck::ns::OnDetection> {};

template <>
struct JsonSchema<domaincheck::ns::RuleSet::Rule> : FilterRuleSchema<domaincheck::ns::RuleSet::Rule> {};

template <>
struct JsonSchema<domaincheck::ns::RuleSet> : RuleSetEnvelopeSchema<domaincheck::ns::RuleSet> {};
// clang-format on

}  // namespace EnterpriseIntegration
