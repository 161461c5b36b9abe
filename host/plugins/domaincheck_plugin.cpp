// "MailServers.DomainCheck": the domain-check filter (sdk/mailservers/domaincheck.h). It keeps the
// rule set it is given and answers it back; it has no notifications.
#include <memory>

#include "host/plugins/rule_set_plugin.h"
#include "sdk/mailservers/domaincheck.h"

namespace kelhost {

std::unique_ptr<ReferencePlugin> MakeDomainCheckPlugin() {
  namespace filter = kel::nusdk::MailServers::DomainCheck;
  return std::make_unique<RuleSetPlugin<filter::IDomainCheck, filter::RuleSet>>(
      filter::kComponentName, filter::IID_IDomainCheck);
}

}  // namespace kelhost
