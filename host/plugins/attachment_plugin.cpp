// "MailServers.Attachment": the attachment filter (sdk/mailservers/attachment.h). It keeps the
// rule set it is given and answers it back; it has no notifications.
#include <memory>

#include "host/plugins/rule_set_plugin.h"
#include "sdk/mailservers/attachment.h"

namespace kelhost {

std::unique_ptr<ReferencePlugin> MakeAttachmentPlugin() {
  namespace filter = kel::nusdk::MailServers::Attachment;
  return std::make_unique<RuleSetPlugin<filter::IAttachment, filter::RuleSet>>(
      filter::kComponentName, filter::IID_IAttachment);
}

}  // namespace kelhost
