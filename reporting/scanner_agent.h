#pragma once
// "MailServers.Scanner": every item the on-access plug-in reports becomes one
// event, "MailServers.{Transport|OnDemand}.{Email|Object}Scanned", with the
// item document (item_document.h) and the high-frequency option; every
// blocked connection becomes "MailServers.Transport.ConnectionBlocked". The
// agent keeps no state, so notifications from any number of plug-in threads
// run side by side without a lock. It serves no policy methods.
#include "reporting/scan_listener.h"

namespace kel::nusdk::MailServers {

class ScannerAgent final : public Reporting::ScanListener {
 public:
  explicit ScannerAgent(const wchar_t* agentName);

  // Never throw into the plug-in; always 0. A document that cannot be built
  // sends nothing.
  int32_t OnItemScanned(const ItemScanInfo& info) override;
  int32_t OnConnectionBlocked(const ConnectionBlockedInfo& info) override;

 protected:
  EnterpriseIntegration::EventTable Events() const override;
};

}  // namespace kel::nusdk::MailServers
