#pragma once

#include <string>
#include <vector>

#include "tools/client/history_pager.h"

/// Histories drawn with characters.
namespace tools::opcuaview {

/// A curve of dots, two by four in a character, with its scale on the left and times below. If
/// several values share a column, it covers the range from the least to the greatest; if the
/// quality is bad or values are missing, it has a gap (tools/chart/curve.h).
/// @param to     after `from`
/// @param rows   lines of the picture, at least 4: two of them are the time axis
/// @param width  columns of the picture, at least 30
/// @return `rows` lines, none wider than `width`
[[nodiscard]] std::vector<std::string> plot(const std::vector<HistoryValue>& values,
                                            UA_DateTime from, UA_DateTime to, int rows, int width);

/// The same in one line of `width` blocks with eight heights; a gap is a blank.
[[nodiscard]] std::string sparkline(const std::vector<HistoryValue>& values, UA_DateTime from,
                                    UA_DateTime to, int width);

/// "82.03 … 82.41": from the least to the greatest, one number if all are equal; "—" without values.
[[nodiscard]] std::string rangeText(const std::vector<HistoryValue>& values);

/// A number as shown in a plot, with at most five digits.
[[nodiscard]] std::string numberText(double number);

}  // namespace tools::opcuaview
