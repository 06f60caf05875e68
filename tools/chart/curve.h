#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "tools/client/history_pager.h"

/// What of a history is drawn, whatever it is drawn with.
namespace tools {

struct Range {
    double low = 0;
    double high = 0;

    [[nodiscard]] double span() const { return high - low; }
};

/// From the least to the greatest value that can be drawn; nothing without one.
[[nodiscard]] std::optional<Range> rangeOf(const std::vector<HistoryValue>& values);

/// Widens a range so that a steady value is drawn in the middle; a switch keeps the range 0 to 1.
[[nodiscard]] Range withRoom(Range range);

/// The values of one column of a picture, reduced to those that draw the same as all of them.
struct CurveColumn {
    const HistoryValue* first = nullptr;  ///< all four are null if there is no value
    const HistoryValue* lowest = nullptr;
    const HistoryValue* highest = nullptr;
    const HistoryValue* last = nullptr;
    bool joined = false;  ///< `first` continues the curve of the column before that has values

    [[nodiscard]] bool empty() const { return first == nullptr; }
};

/// Distributes the values of a time range over the columns of a picture. Values of bad quality, those that
/// are no numbers and those beyond 1e300 are left out, and the curve is interrupted there. It is also interrupted where
/// values are missing: after five times the usual interval between two, at least after 5 s.
/// @param values  oldest first; the columns refer to them
/// @param count   columns, at least 1
[[nodiscard]] std::vector<CurveColumn> curveColumns(const std::vector<HistoryValue>& values,
                                                    UA_DateTime from, UA_DateTime to,
                                                    std::size_t count);

/// Whether all values are 0 or 1, so that a curve between them must not slope.
[[nodiscard]] bool isSwitch(const std::vector<HistoryValue>& values);

}  // namespace tools
