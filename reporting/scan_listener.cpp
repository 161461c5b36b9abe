#include "reporting/scan_listener.h"

#include "frame/result_codes.h"

namespace Reporting {

using kel::nusdk::MailServers::IMailServers;
using kel::nusdk::MailServers::IScanNotifications;

ScanListener::ScanListener(const wchar_t* agentName, const wchar_t* className)
    : Agent<IMailServers>(agentName, className, kel::nusdk::MailServers::kOnAccessComponentName) {}

// The plug-in's registration takes a second, reserved argument, always null.
uint32_t ScanListener::OnPluginsAcquired() {
  IMailServers* plugin = this->plugin();
  if (!plugin) return kel::result::kNotReady;
  IScanNotifications* sink = this;
  return sink_.RegisterWith(
      [plugin, sink] { return plugin->RegisterScanNotifications(sink, nullptr); },
      [plugin, sink] { plugin->UnregisterScanNotifications(sink); });
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
