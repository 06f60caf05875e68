#pragma once

#include <string>
#include <vector>

#include "tools/chart/curve.h"

/// The marks of a picture's axes.
namespace tools {

/// Marks of a value axis: `low`, `low + step` ... up to `intervals` steps.
struct ValueScale {
    double low = 0;
    double step = 1;  ///< 1, 2 or 5 times a power of ten
    int intervals = 1;

    [[nodiscard]] double at(int tick) const { return low + step * tick; }
    [[nodiscard]] double high() const { return at(intervals); }
};

/// Scales that contain the ranges, one for each, all with the same number of intervals, so that one
/// grid serves all. Of the numbers from 4 to `most` it is the one with which the ranges fill the most room.
/// @param ranges  finite, each wider than nothing (`withRoom`)
[[nodiscard]] std::vector<ValueScale> valueScales(const std::vector<Range>& ranges, int most);

/// The value at a mark, with as many digits as the step needs: "12.50", "-3", "2.5e9".
[[nodiscard]] std::string tickText(const ValueScale& scale, int tick);

/// A mark of the time axis, at a round local time.
struct TimeTick {
    UA_DateTime time;
    std::string text;  ///< "12:30", "12:30:15", "12:30:15.250", "11-22", "2026-11" or "2026"
    std::string
        date;      ///< what `text` leaves out, "2026-11-22" or "2026", where it changes; else empty
    bool newDate;  ///< a day, or a year of days, begins with it
};

/// Round local times between two, both included, at most `most` (at least 2) and about as many as are
/// sensible. Where clocks are changed the marks stay at round times of the clock.
[[nodiscard]] std::vector<TimeTick> timeTicks(UA_DateTime from, UA_DateTime to, int most);

/// The local time's difference to UTC, "UTC+3" or "UTC-3:30"; "UTC+2, UTC+1" if it differs at the end.
[[nodiscard]] std::string timeZoneText(UA_DateTime from, UA_DateTime to);

}  // namespace tools
