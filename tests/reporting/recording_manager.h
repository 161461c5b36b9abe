#pragma once
// A manager for the statistics tests: thread-safe, it keeps the statistics
// reports with the clock's time at which each arrived, only counts the other
// events (a load test sends hundreds of thousands), and can run a hook inside
// the send of a report, on the report thread.
#include <cwchar>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <json/value.h>

#include "frame/clock.h"
#include "sdk/manager.h"

namespace reporting_test {

struct Report {
  int64_t at;  // Unix seconds
  uint32_t options;
  Json::Value body;
};

class RecordingManager final : public EnterpriseIntegration::IManager {
 public:
  explicit RecordingManager(const kel::Clock& clock) : clock_(clock) {}

  void* QueryInterface(const kel::InterfaceId*) override { return this; }
  uint32_t SendEvent(const wchar_t* name, const Json::Value* body, uint32_t options) override {
    std::function<void()> hook;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      if (std::wcscmp(name, L"kel.MailServers.Stats") != 0) {
        ++others_;
        return 0;
      }
      reports_.push_back({clock_.UnixSeconds(), options, *body});
      hook = onReport;
    }
    if (hook) hook();
    return 0;
  }
  uint32_t LogEvent(uint32_t, uint32_t, uint32_t, const wchar_t*, uint32_t, uint32_t,
                    const Json::Value*) override {
    return 0;
  }
  bool IsConnected() override { return true; }
  bool RegisterAgent(EnterpriseIntegration::IAgent*) override {
    std::lock_guard<std::mutex> lock(mutex_);
    ++registered_;
    return true;
  }
  void UnregisterAgent(EnterpriseIntegration::IAgent*) override {
    std::lock_guard<std::mutex> lock(mutex_);
    --registered_;
  }
  void NotifyConfigurationChanged(uint32_t) override {}

  std::vector<Report> Reports() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return reports_;
  }
  size_t OtherEvents() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return others_;
  }
  int Registered() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return registered_;
  }

  std::function<void()> onReport;  // set only while no report can be on its way

 private:
  const kel::Clock& clock_;
  mutable std::mutex mutex_;
  std::vector<Report> reports_;
  size_t others_ = 0;
  int registered_ = 0;
};

}  // namespace reporting_test
