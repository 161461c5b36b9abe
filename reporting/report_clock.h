#pragma once
// When the statistics report thread wakes: on whole multiples of a period of
// UTC time, two minutes right after a report, thirty seconds when nothing has
// been sent for a while (and at start), so that the first notifications after
// a quiet spell are reported within half a minute and a busy server at most
// once per two-minute mark.
#include <cstdint>

namespace Reporting {

inline constexpr uint32_t kReportPeriodSeconds = 120;
inline constexpr uint32_t kIdlePeriodSeconds = 30;
// Longer than this since the last report sent, and the thread looks more often.
inline constexpr uint32_t kBusySpellSeconds = 130;

// The period to align the next wake-up to, given now and the time of the last
// report sent (0 before the first), both in Unix seconds. The difference is
// taken as an unsigned 32-bit number, so a clock set back looks idle.
uint32_t ReportPeriodSeconds(int64_t nowUnixSeconds, int64_t lastReportUnixSeconds) noexcept;

// Milliseconds from `fileTimeTicks` (100 ns units since 1601, UTC) to the next
// whole multiple of `periodSeconds` counted from 1601; 1 to period x 1000. The
// 1601 epoch lies a whole number of two-minute periods before 1970, so the
// marks are the even UTC minutes (and their half minutes for 30 s).
uint32_t MillisecondsToNextMark(int64_t fileTimeTicks, uint32_t periodSeconds) noexcept;

}  // namespace Reporting
