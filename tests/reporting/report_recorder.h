#pragma once
// kelhost's manager, for the statistics tests: it keeps the statistics
// reports with the clock's time at which each arrived, only counts the other
// events (a load test sends hundreds of thousands), and can run a hook
// inside the send of a report, on the report thread.
#include <functional>
#include <mutex>
#include <vector>

#include <json/value.h>

#include "frame/clock.h"
#include "host/kelhost/manager.h"

namespace reporting_test {

struct Report {
  int64_t at;  // Unix seconds
  uint32_t options;
  Json::Value body;
};

class ReportRecorder {
 public:
  explicit ReportRecorder(const kel::Clock& clock) {
    manager.SetEventHook([this, &clock](const kelhost::ReceivedEvent& event) {
      std::function<void()> hook;
      {
        std::lock_guard<std::mutex> lock(mutex_);
        if (event.name != "kel.MailServers.Stats") {
          ++others_;
          return false;
        }
        reports_.push_back({clock.UnixSeconds(), event.flags, event.body});
        hook = onReport;
      }
      if (hook) hook();
      return false;
    });
  }

  std::vector<Report> Reports() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return reports_;
  }
  size_t OtherEvents() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return others_;
  }

  kelhost::Manager manager;
  std::function<void()> onReport;  // set only while no report can be on its way

 private:
  mutable std::mutex mutex_;
  std::vector<Report> reports_;
  size_t others_ = 0;
};

}  // namespace reporting_test
