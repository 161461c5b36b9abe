#include "reporting/report_clock.h"

namespace Reporting {

uint32_t ReportPeriodSeconds(int64_t nowUnixSeconds, int64_t lastReportUnixSeconds) noexcept {
  const uint32_t elapsed = static_cast<uint32_t>(nowUnixSeconds - lastReportUnixSeconds);
  return elapsed <= kBusySpellSeconds ? kReportPeriodSeconds : kIdlePeriodSeconds;
}

uint32_t MillisecondsToNextMark(int64_t fileTimeTicks, uint32_t periodSeconds) noexcept {
  if (periodSeconds == 0 || fileTimeTicks < 0) return 0;
  const int64_t seconds = fileTimeTicks / 10'000'000;
  const int64_t mark = seconds - seconds % periodSeconds + periodSeconds;
  return static_cast<uint32_t>(mark * 1000 - fileTimeTicks / 10'000);
}

}  // namespace Reporting
