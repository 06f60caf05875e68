#include "tools/opcuaview/plot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <optional>

#include "tools/client/format.h"
#include "tools/text/text.h"

namespace tools::opcuaview {

namespace {

struct Range {
    double low = 0;
    double high = 0;
};

/// The values of one column of dots.
struct Column {
    std::optional<Range> range;
    double last = 0;
    bool bad = false;  // a bad value ended it
};

bool shows(const HistoryValue& value) {
    return std::isfinite(value.number) && !UA_StatusCode_isBad(value.status);
}

std::optional<Range> rangeOf(const std::vector<HistoryValue>& values) {
    std::optional<Range> range;
    for (const HistoryValue& value : values) {
        if (!shows(value)) continue;
        if (!range) range = Range{value.number, value.number};
        range->low = std::min(range->low, value.number);
        range->high = std::max(range->high, value.number);
    }
    return range;
}

/// Widens a range so that a steady value is drawn in the middle; a switch keeps the range 0 to 1.
Range withRoom(Range range) {
    if (range.high > range.low) return range;
    if (range.low == 0 || range.low == 1) return {0, 1};
    const double room = std::max(std::fabs(range.low) * 0.01, 0.5);
    return {range.low - room, range.high + room};
}

std::vector<Column> columnsOf(const std::vector<HistoryValue>& values, UA_DateTime from,
                              UA_DateTime to, std::size_t count) {
    std::vector<Column> columns(count);
    const double span = static_cast<double>(std::max<UA_DateTime>(to - from, 1));
    for (const HistoryValue& value : values) {
        if (value.time < from || value.time > to) continue;
        const double place = static_cast<double>(value.time - from) / span;
        const auto index =
            std::min(count - 1, static_cast<std::size_t>(place * static_cast<double>(count)));
        Column& column = columns[index];
        column.bad = !shows(value);
        if (column.bad) continue;
        if (!column.range) column.range = Range{value.number, value.number};
        column.range->low = std::min(column.range->low, value.number);
        column.range->high = std::max(column.range->high, value.number);
        column.last = value.number;
    }
    return columns;
}

/// A value lasts until the next one, but not longer than the usual interval between two recorded
/// ones.
void holdBetween(std::vector<Column>& columns, UA_DateTime columnTicks) {
    const auto longest = static_cast<std::size_t>(
        std::max<UA_DateTime>(5 * UA_DATETIME_SEC / std::max<UA_DateTime>(columnTicks, 1), 1));
    std::size_t from = columns.size();  // column of the last value; none
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i].range) {
            const bool holds = from < i && i - from <= longest;
            for (std::size_t k = from + 1; holds && k < i; ++k) {
                columns[k].range = Range{columns[from].last, columns[from].last};
                columns[k].last = columns[from].last;
            }
            from = i;
        }
        if (columns[i].bad) from = columns.size();
    }
}

/// Dots of a picture, two by four to a character (U+2800 and on).
class Dots {
  public:
    Dots(std::size_t rows, std::size_t columns) : columns_(columns), cells_(rows * columns, 0) {}

    /// Sets the dots of column x between two heights, 0 at the top.
    void line(std::size_t x, std::size_t y1, std::size_t y2) {
        constexpr std::array<std::array<std::uint8_t, 4>, 2> kBits{
            {{0x01, 0x02, 0x04, 0x40}, {0x08, 0x10, 0x20, 0x80}}};
        for (std::size_t y = std::min(y1, y2); y <= std::max(y1, y2); ++y) {
            cells_[y / 4 * columns_ + x / 2] |= kBits[x % 2][y % 4];
        }
    }

    [[nodiscard]] std::string row(std::size_t y) const {
        std::string text;
        for (std::size_t x = 0; x < columns_; ++x) {
            const unsigned bits = cells_[y * columns_ + x];
            if (bits == 0) {
                text += ' ';
                continue;
            }
            text += '\xE2';
            text += static_cast<char>(0xA0U | (bits >> 6));
            text += static_cast<char>(0x80U | (bits & 0x3FU));
        }
        return text;
    }

  private:
    std::size_t columns_;
    std::vector<std::uint8_t> cells_;
};

Dots drawn(std::vector<Column> columns, Range scale, std::size_t rows, UA_DateTime columnTicks) {
    holdBetween(columns, columnTicks);
    Dots dots(rows, columns.size() / 2);
    const std::size_t lowest = rows * 4 - 1;
    const auto heightOf = [&](double value) {
        const double place = (value - scale.low) / (scale.high - scale.low);
        return lowest - static_cast<std::size_t>(std::lround(place * static_cast<double>(lowest)));
    };
    const Column* before = nullptr;
    for (std::size_t x = 0; x < columns.size(); ++x) {
        const Column& column = columns[x];
        if (column.range) {
            Range range = *column.range;
            if (before != nullptr) {  // joined to its neighbour
                range.low = std::min(range.low, before->last);
                range.high = std::max(range.high, before->last);
            }
            dots.line(x, heightOf(range.low), heightOf(range.high));
        }
        before = column.range && !column.bad ? &column : nullptr;
    }
    return dots;
}

std::string timeAxis(UA_DateTime from, UA_DateTime to, int width) {
    const std::string left = timeOfDay(from);
    const std::string right = timeOfDay(to);
    const int gap = width - displayWidth(left) - displayWidth(right);
    return left + std::string(static_cast<std::size_t>(std::max(gap, 1)), ' ') + right;
}

}  // namespace

std::string numberText(double number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.5g", number);
    return text.data();
}

std::string timeOfDay(UA_DateTime time) {
    constexpr std::size_t kDate = 11;
    constexpr std::size_t kTime = 8;
    const std::string text = formatTime(time);
    return text.size() < kDate ? text : text.substr(kDate, kTime);
}

std::string rangeText(const std::vector<HistoryValue>& values) {
    const auto range = rangeOf(values);
    return range ? numberText(range->low) + " … " + numberText(range->high) : "—";
}

std::vector<std::string> plot(const std::vector<HistoryValue>& values, UA_DateTime from,
                              UA_DateTime to, int rows, int width) {
    constexpr int kAxisRows = 2;
    constexpr int kScaleWidth = 10;
    const auto height = static_cast<std::size_t>(rows - kAxisRows);
    const int picture = width - kScaleWidth - 1;
    const Range scale = withRoom(rangeOf(values).value_or(Range{}));
    const auto count = static_cast<std::size_t>(picture) * 2;
    const Dots dots = drawn(columnsOf(values, from, to, count), scale, height,
                            (to - from) / static_cast<UA_DateTime>(count));
    std::vector<std::string> lines;
    for (std::size_t y = 0; y < height; ++y) {
        std::string label;
        if (y == 0) label = numberText(scale.high);
        if (y == height - 1) label = numberText(scale.low);
        lines.push_back(fitted(label, kScaleWidth - 1, Align::right) + " │" + dots.row(y));
    }
    std::string axis = std::string(kScaleWidth, ' ') + "└";
    for (int x = 0; x < picture; ++x)
        axis += "─";
    lines.push_back(axis);
    lines.push_back(std::string(kScaleWidth + 1, ' ') + timeAxis(from, to, picture));
    return lines;
}

std::string sparkline(const std::vector<HistoryValue>& values, UA_DateTime from, UA_DateTime to,
                      int width) {
    static constexpr std::array<const char*, 8> kBlocks{"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    const auto count = static_cast<std::size_t>(width);
    std::vector<Column> columns = columnsOf(values, from, to, count);
    holdBetween(columns, (to - from) / width);
    const Range scale = withRoom(rangeOf(values).value_or(Range{}));
    std::string line;
    for (const Column& column : columns) {
        if (!column.range) {
            line += ' ';
            continue;
        }
        const double place = (column.last - scale.low) / (scale.high - scale.low);
        line += kBlocks[static_cast<std::size_t>(std::lround(place * (kBlocks.size() - 1)))];
    }
    return line;
}

}  // namespace tools::opcuaview
