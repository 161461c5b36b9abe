// "MailServers.Content": the content filter (sdk/mailservers/content.h). It keeps the
// rule set it is given and answers it back; it has no notifications.
#include <memory>

#include "host/plugins/rule_set_plugin.h"
#include "sdk/mailservers/content.h"

namespace kelhost {

std::unique_ptr<ReferencePlugin> MakeContentPlugin() {
  namespace filter = kel::nusdk::MailServers::Content;
  return std::make_unique<RuleSetPlugin<filter::IContent, filter::RuleSet>>(filter::kComponentName,
                                                                            filter::IID_IContent);
}

}  // namespace kelhost
