#pragma once
// Test helpers for the antispam documents: the RBL settings described field by
// field, without the schemas.
#include <string>

#include "sdk/mailservers/antispam.h"
#include "tests/transport/rule_describe.h"

namespace rule_test {

inline std::string Text(const kel::nusdk::MailServers::Antispam::IAntispam::RBLSettings& s) {
  std::string out = "timeout " + std::to_string(s.dnsTimeout) + " skip " +
                    std::to_string(s.skipSystemServers) + " dns " + Text(s.dnsAddress) + " [";
  for (const auto& server : s.servers) {
    out += Text(server.address) + "/" + std::to_string(server.confidence) + ",";
  }
  return out + "]";
}

}  // namespace rule_test
