#pragma once
// The antispam documents: the RBL settings of the agent's own methods, and
// the rule set that the transport agent sets and reads
// (JsonSerializer<Antispam::RuleSet> on the whole {"enabled", "rules"} object).
#include <cstdint>

#include "agent/json/json_serializer.h"
#include "sdk/mailservers/antispam.h"
#include "transport/rule_actions.h"
#include "transport/rule_schema.h"

namespace EnterpriseIntegration {

namespace antispam {
namespace ns = kel::nusdk::MailServers::Antispam;

// The plug-in's codes are the common tables' codes.
inline constexpr auto& kMainActionNames = rules::kCommonMainActionNames;
inline constexpr auto& kSecondaryActionNames = rules::kCommonSecondaryActionNames;
static_assert(rules::CodeOf(kMainActionNames, "rejectOrDeleteEmail") == ns::kRejectOrDeleteEmail);
static_assert(rules::CodeOf(kMainActionNames, "redirectEmail") == ns::kRedirectEmail);
static_assert(rules::CodeOf(kMainActionNames, "quarantineEmail") == ns::kQuarantineEmail);
static_assert(rules::CodeOf(kMainActionNames, "deliverEmail") == ns::kDeliverEmail);
static_assert(rules::CodeOf(kSecondaryActionNames, "tagSubject") == ns::kTagSubject);
static_assert(rules::CodeOf(kSecondaryActionNames, "addHeader") == ns::kAddHeader);
static_assert(rules::CodeOf(kSecondaryActionNames, "saveToFolder") == ns::kSaveToFolder);
static_assert(rules::CodeOf(kSecondaryActionNames, "bccTo") == ns::kBccTo);
static_assert(rules::CodeOf(kSecondaryActionNames, "addSCLHeader") == ns::kAddSCLHeader);
static_assert(rules::CodeOf(kSecondaryActionNames, "notifyInternalRecipients") ==
              ns::kNotifyInternalRecipients);
static_assert(rules::CodeOf(kSecondaryActionNames, "notifyRecipients") == ns::kNotifyRecipients);

using RBLSettings = ns::IAntispam::RBLSettings;
using RBLServer = RBLSettings::RBLServer;

}  // namespace antispam

// clang-format off
template <>
struct JsonSchema<antispam::RBLServer> : JsonSchemaBase<antispam::RBLServer> {
  using S = antispam::RBLServer;
  static constexpr auto kFields = Fields(
      //       key                     member
      Required(json_keys::kAddress,    &S::address),      // string
      Required(json_keys::kConfidence, &S::confidence));  // unsigned
};

template <>
struct JsonSchema<antispam::RBLSettings> : JsonSchemaBase<antispam::RBLSettings> {
  using S = antispam::RBLSettings;
  static constexpr auto kFields = Fields(
      //       key                            member                  default
      Optional(json_keys::kDnsTimeout,        &S::dnsTimeout,         Default(kel::nusdk::MailServers::Antispam::kDefaultDnsTimeout)),
      Optional(json_keys::kSkipSystemServers, &S::skipSystemServers,  Default(uint8_t{0})),
      Optional(json_keys::kDnsAddress,        &S::dnsAddress,         Default()),
      Optional(json_keys::kServers,           &S::servers,            Default()));
  // Servers to ask need a DNS server to ask them through: the given address,
  // or the system's own unless those are skipped. Refused without a log line.
  static constexpr char kCheckRule[] =
      "\"servers\" with \"skipSystemServers\" need a non-empty \"dnsAddress\".";
  static bool Check(const S& s) {
    return s.servers.IsEmpty() || !s.dnsAddress.IsEmpty() || !s.skipSystemServers;
  }
};

template <>
struct JsonSchema<antispam::ns::MultiFilter> : JsonSchemaBase<antispam::ns::MultiFilter> {
  using S = antispam::ns::MultiFilter;
  static constexpr auto kFields = Fields(
      Required(json_keys::kEnabled,                &S::enabled),
      Required(json_keys::kDetectAsian,            &S::detectAsian),
      Required(json_keys::kDetectCyrillic,         &S::detectCyrillic),
      Required(json_keys::kDetectSexuallyExplicit, &S::detectSexuallyExplicit));
};

// Every member required, loaded and saved in this order.
template <>
struct JsonSchema<antispam::ns::ScanSettings> : JsonSchemaBase<antispam::ns::ScanSettings> {
  using S = antispam::ns::ScanSettings;
  static constexpr auto kFields = Fields(
      //       key                             member
      Required(json_keys::kAggressivity,       &S::aggressivity),        // unsigned, not range-checked
      Required(json_keys::kCheckAuthenticated, &S::checkAuthenticated),  // boolean
      Required(json_keys::kUseCloudQueries,    &S::useCloudQueries),     // boolean
      Required(json_keys::kMultiFilter,        &S::multiFilter),         // object
      Required(json_keys::kUseURLFilter,       &S::useURLFilter),        // boolean
      Required(json_keys::kUseRBLFilter,       &S::useRBLFilter),        // boolean
      Required(json_keys::kUseHeuristicFilter, &S::useHeuristicFilter),  // boolean
      Required(json_keys::kUseWhiteBlackLists, &S::useWhiteBlackLists),  // boolean
      Required(json_keys::kWhiteList,          &S::whiteList),           // [string]
      Required(json_keys::kBlackList,          &S::blackList));          // [string]
};

// The common numbering, with "addSCLHeader" and both notifications.
template <>
struct JsonSchema<antispam::ns::SecondaryAction>
    : SecondaryActionSchema<antispam::ns::SecondaryAction, rules::kCommonSecondaryActionNames> {};

template <>
struct JsonSchema<antispam::ns::OnDetection>
    : MainAndSecondaryActionsSchema<antispam::ns::OnDetection> {};

template <>
struct JsonSchema<antispam::ns::RuleSet::Rule> : FilterRuleSchema<antispam::ns::RuleSet::Rule> {};

template <>
struct JsonSchema<antispam::ns::RuleSet> : RuleSetEnvelopeSchema<antispam::ns::RuleSet> {};
// clang-format on

}  // namespace EnterpriseIntegration
