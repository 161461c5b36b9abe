#include "ondemand/ondemand_events.h"

namespace MailServers {

using kel::nusdk::MailServers::IOnDemand;

uint32_t ReportedChangeType(uint32_t pluginChangeType) noexcept {
  switch (pluginChangeType) {
    case IOnDemand::kTaskAdded:
    case IOnDemand::kTaskModified:
    case IOnDemand::kTaskDeleted:
      return pluginChangeType;
    case IOnDemand::kTaskReplaced:
      return IOnDemand::kTaskModified;
    default:
      return kUnknownChange;
  }
}

}  // namespace MailServers
