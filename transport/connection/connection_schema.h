#pragma once
// The JSON forms of the connection filter's policy methods: the switches and
// the sender black list.
#include <cstdint>

#include "agent/json/json_serializer.h"
#include "sdk/mailservers/connection.h"

namespace ConnectionFilter {

// The input of both switch setters and the output of both switch getters.
struct Switch {
  uint8_t enabled = 0;
};

}  // namespace ConnectionFilter

namespace EnterpriseIntegration {

// clang-format off
template <>
struct JsonSchema<ConnectionFilter::Switch> : JsonSchemaBase<ConnectionFilter::Switch> {
  using S = ConnectionFilter::Switch;
  static constexpr auto kFields = Fields(
      //       key                  member
      Required(json_keys::kEnabled, &S::enabled));  // boolean
};

// The black list in its full form, as set and as answered. The short form of
// the setter ("entries") is the agent's, not a form of this record.
template <>
struct JsonSchema<kel::nusdk::MailServers::Connection::SenderBlackList>
    : JsonSchemaBase<kel::nusdk::MailServers::Connection::SenderBlackList> {
  using S = kel::nusdk::MailServers::Connection::SenderBlackList;
  static constexpr auto kFields = Fields(
      //       key                    member
      Required(json_keys::kEmails,    &S::emails),      // [string]
      Required(json_keys::kWildcards, &S::wildcards));  // [string]
};
// clang-format on

}  // namespace EnterpriseIntegration
