#include "reporting/scan_listener.h"

#include "frame/result_codes.h"

namespace Reporting {

using kel::nusdk::MailServers::IMailServers;
using kel::nusdk::MailServers::IScanNotifications;

ScanListener::ScanListener(const wchar_t* agentName, const wchar_t* className)
    : Agent<IMailServers>(agentName, className, kel::nusdk::MailServers::kOnAccessComponentName) {}

uint32_t ScanListener::SinkPort::Subscribe(IScanNotifications* sink) {
  IMailServers* plugin = owner_.plugin();
  return plugin ? plugin->RegisterScanNotifications(sink, nullptr) : kel::result::kNotReady;
}

uint32_t ScanListener::SinkPort::Unsubscribe(IScanNotifications* sink) {
  IMailServers* plugin = owner_.plugin();
  return plugin ? plugin->UnregisterScanNotifications(sink) : kel::result::kNotReady;
}

uint32_t ScanListener::OnPluginsAcquired() {
  return sink_.Register(&port_, &SinkPort::Subscribe, &SinkPort::Unsubscribe,
                        static_cast<IScanNotifications*>(this));
}

void ScanListener::UnregisterSink() noexcept { sink_.Reset(); }

uint32_t ScanListener::Start() {
  if (const uint32_t code = AgentBase::Start()) return code;
  try {
    if (!sink_.active() && plugin()) return OnPluginsAcquired();
  } catch (...) {
    return kel::result::kFunctionFailed;
  }
  return kel::result::kSuccess;
}

void ScanListener::Stop() {
  UnregisterSink();
  AgentBase::Stop();
}

}  // namespace Reporting
