#include "tools/chart/curve.h"

#include <algorithm>
#include <cmath>

namespace tools {

namespace {

bool isDrawn(const HistoryValue& value) {
    constexpr double kLargest = 1e300;  // beyond it, scales would overflow
    return std::fabs(value.number) <= kLargest && !UA_StatusCode_isBad(value.status);
}

}  // namespace

std::optional<Range> rangeOf(const std::vector<HistoryValue>& values) {
    std::optional<Range> range;
    for (const HistoryValue& value : values) {
        if (!isDrawn(value)) continue;
        if (!range) range = Range{value.number, value.number};
        range->low = std::min(range->low, value.number);
        range->high = std::max(range->high, value.number);
    }
    return range;
}

Range withRoom(Range range) {
    const double size = std::max(std::fabs(range.low), std::fabs(range.high));
    if (range.span() > size * 1e-9) return range;
    if (range.low == 0 || range.low == 1) return {0, 1};
    const double room = std::max(size * 0.01, 0.5);
    return {range.low - room, range.high + room};
}

bool isSwitch(const std::vector<HistoryValue>& values) {
    return std::all_of(values.begin(), values.end(), [](const HistoryValue& value) {
        return !isDrawn(value) || value.number == 0 || value.number == 1;
    });
}

namespace {

/// How long the curve goes on without a new value.
UA_DateTime longestInterval(const std::vector<HistoryValue>& values) {
    constexpr UA_DateTime kLeast = 5 * UA_DATETIME_SEC;
    constexpr UA_DateTime kTimesUsual = 5;
    if (values.size() < 2) return kLeast;
    std::vector<UA_DateTime> intervals;
    intervals.reserve(values.size() - 1);
    for (std::size_t i = 1; i < values.size(); ++i)
        intervals.push_back(values[i].time - values[i - 1].time);
    // Nine of ten are no longer than the usual one: archives that store changes only have long ones too.
    const auto usual = intervals.begin() + static_cast<std::ptrdiff_t>(intervals.size() * 9 / 10);
    std::nth_element(intervals.begin(), usual, intervals.end());
    return std::max(kLeast, *usual * kTimesUsual);
}

}  // namespace

std::vector<CurveColumn> curveColumns(const std::vector<HistoryValue>& values, UA_DateTime from,
                                      UA_DateTime to, std::size_t count) {
    std::vector<CurveColumn> columns(count);
    const double span = static_cast<double>(std::max<UA_DateTime>(to - from, 1));
    const UA_DateTime longest = longestInterval(values);
    const HistoryValue* before = nullptr;  // the value that the next one may continue
    for (const HistoryValue& value : values) {
        if (value.time < from || value.time > to) continue;
        if (!isDrawn(value)) {
            before = nullptr;
            continue;
        }
        const double place = static_cast<double>(value.time - from) / span;
        CurveColumn& column = columns[std::min(
            count - 1, static_cast<std::size_t>(place * static_cast<double>(count)))];
        if (column.empty()) {
            column = {&value, &value, &value, &value,
                      before != nullptr && value.time - before->time <= longest};
        }
        if (value.number < column.lowest->number) column.lowest = &value;
        if (value.number > column.highest->number) column.highest = &value;
        column.last = &value;
        before = &value;
    }
    return columns;
}

}  // namespace tools
