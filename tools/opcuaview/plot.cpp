#include "tools/opcuaview/plot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <optional>

#include "tools/chart/curve.h"
#include "tools/chart/ticks.h"
#include "tools/text/text.h"

namespace tools::opcuaview {

namespace {

/// One column of the picture: which values it covers, and with which it ends.
struct Bar {
    std::optional<Range> range;
    double last = 0;
    bool joined = false;  ///< with the bar before it
};

/// A value lasts until the next one if the curve is not interrupted between them.
std::vector<Bar> barsOf(const std::vector<HistoryValue>& values, UA_DateTime from, UA_DateTime to,
                        std::size_t count) {
    const std::vector<CurveColumn> columns = curveColumns(values, from, to, count);
    std::vector<Bar> bars(count);
    std::size_t before = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const CurveColumn& column = columns[i];
        if (column.empty()) continue;
        bars[i] = {Range{column.lowest->number, column.highest->number}, column.last->number,
                   column.joined};
        for (std::size_t k = before + 1; column.joined && k < i; ++k) {
            const double last = bars[before].last;
            bars[k] = {Range{last, last}, last, true};
        }
        before = i;
    }
    return bars;
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

Dots drawn(const std::vector<Bar>& bars, Range scale, std::size_t rows) {
    Dots dots(rows, bars.size() / 2);
    const std::size_t lowest = rows * 4 - 1;
    const auto heightOf = [&](double value) {
        const double place = (value - scale.low) / scale.span();
        return lowest - static_cast<std::size_t>(std::lround(place * static_cast<double>(lowest)));
    };
    for (std::size_t x = 0; x < bars.size(); ++x) {
        if (!bars[x].range) continue;
        Range range = *bars[x].range;
        if (x > 0 && bars[x].joined) {
            range.low = std::min(range.low, bars[x - 1].last);
            range.high = std::max(range.high, bars[x - 1].last);
        }
        dots.line(x, heightOf(range.low), heightOf(range.high));
    }
    return dots;
}

/// The axis with its marks, and the times below them; a new day shows its date.
std::array<std::string, 2> timeAxis(UA_DateTime from, UA_DateTime to, int width) {
    constexpr int kRoom = 14;  // for a mark with its text
    std::vector<bool> marks(static_cast<std::size_t>(width));
    std::string texts;
    int used = 0;
    for (const TimeTick& tick : timeTicks(from, to, std::max(width / kRoom, 2))) {
        const double place = static_cast<double>(tick.time - from) / static_cast<double>(to - from);
        const int column = std::min(static_cast<int>(place * width), width - 1);
        const std::string& text = tick.newDate && !tick.date.empty() ? tick.date : tick.text;
        const int length = displayWidth(text);
        const int begin = std::clamp(column - length / 2, 0, std::max(width - length, 0));
        marks[static_cast<std::size_t>(column)] = true;
        if (begin < used + (used > 0 ? 1 : 0) || begin + length > width) continue;
        texts += std::string(static_cast<std::size_t>(begin - used), ' ') + text;
        used = begin + length;
    }
    std::string line;
    for (const bool mark : marks)
        line += mark ? "┬" : "─";
    return {line, texts};
}

}  // namespace

std::string numberText(double number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.5g", number);
    return text.data();
}

std::string rangeText(const std::vector<HistoryValue>& values) {
    const auto range = rangeOf(values);
    if (!range) return "—";
    const std::string low = numberText(range->low);
    return range->span() == 0 ? low : low + " … " + numberText(range->high);
}

std::vector<std::string> plot(const std::vector<HistoryValue>& values, UA_DateTime from,
                              UA_DateTime to, int rows, int width) {
    constexpr int kAxisRows = 2;
    constexpr int kScaleWidth = 10;
    const auto height = static_cast<std::size_t>(rows - kAxisRows);
    const int picture = width - kScaleWidth - 1;
    const Range scale = withRoom(rangeOf(values).value_or(Range{}));
    const Dots dots =
        drawn(barsOf(values, from, to, static_cast<std::size_t>(picture) * 2), scale, height);
    std::vector<std::string> lines;
    for (std::size_t y = 0; y < height; ++y) {
        std::string label;
        if (y == 0) label = numberText(scale.high);
        if (y == height - 1) label = numberText(scale.low);
        lines.push_back(fitted(label, kScaleWidth - 1, Align::right) + " │" + dots.row(y));
    }
    const auto [axis, times] = timeAxis(from, to, picture);
    lines.push_back(std::string(kScaleWidth, ' ') + "└" + axis);
    lines.push_back(std::string(kScaleWidth + 1, ' ') + times);
    return lines;
}

std::string sparkline(const std::vector<HistoryValue>& values, UA_DateTime from, UA_DateTime to,
                      int width) {
    static constexpr std::array<const char*, 8> kBlocks{"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    const Range scale = withRoom(rangeOf(values).value_or(Range{}));
    std::string line;
    for (const Bar& bar : barsOf(values, from, to, static_cast<std::size_t>(width))) {
        if (!bar.range) {
            line += ' ';
            continue;
        }
        const double place = (bar.last - scale.low) / scale.span();
        line += kBlocks[static_cast<std::size_t>(std::lround(place * (kBlocks.size() - 1)))];
    }
    return line;
}

}  // namespace tools::opcuaview
