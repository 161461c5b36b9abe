#include "reporting/scanner_agent.h"

#include "frame/logging/trace_scope.h"
#include "reporting/item_document.h"

namespace kel::nusdk::MailServers {

ScannerAgent::ScannerAgent(const wchar_t* agentName)
    : ScanListener(agentName, L"kel::nusdk::MailServers::ScannerAgent") {}

EnterpriseIntegration::EventTable ScannerAgent::Events() const {
  using kel::nusdk::MailServers::ConnectionBlockedInfo;
  static constexpr auto kItem = EnterpriseIntegration::kBodyOf<ItemScanInfo>;
  static constexpr EnterpriseIntegration::EventEntry kEvents[] = {
      {Reporting::kTransportEmailScanned, kItem},
      {Reporting::kOnDemandEmailScanned, kItem},
      {Reporting::kTransportObjectScanned, kItem},
      {Reporting::kOnDemandObjectScanned, kItem},
      {Reporting::kConnectionBlocked, EnterpriseIntegration::kBodyOf<ConnectionBlockedInfo>},
  };
  return kEvents;
}

int32_t ScannerAgent::OnItemScanned(const ItemScanInfo& info) {
  TraceScope trace(L"kel::nusdk::MailServers::ScannerAgent::OnItemScanned");
  try {
    Json::Value document;
    Reporting::WriteItemDocument(info, document);
    SendEvent(Reporting::ItemEventName(info), document, EnterpriseIntegration::kEventHighFrequency);
  } catch (...) {
  }
  return 0;
}

int32_t ScannerAgent::OnConnectionBlocked(const ConnectionBlockedInfo& info) {
  TraceScope trace(L"kel::nusdk::MailServers::ScannerAgent::OnConnectionBlocked");
  try {
    Json::Value document;
    Reporting::WriteConnectionBlockedDocument(info, document);
    SendEvent(Reporting::kConnectionBlocked, document, EnterpriseIntegration::kEventOrdinary);
  } catch (...) {
  }
  return 0;
}

}  // namespace kel::nusdk::MailServers
