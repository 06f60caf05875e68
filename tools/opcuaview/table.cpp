#include "tools/opcuaview/table.h"

#include <algorithm>
#include <numeric>
#include <string_view>

namespace tools::opcuaview {

namespace {

constexpr int kGap = 2;  // blanks between two columns

}  // namespace

void TableRenderer::widen(const std::vector<Row>& rows) {
    widest_.resize(columns_.size(), 0);
    for (std::size_t column = 0; column < columns_.size(); ++column) {
        widest_[column] = std::max(widest_[column], displayWidth(columns_[column].title));
        for (const Row& row : rows) {
            widest_[column] = std::max(widest_[column], displayWidth(row[column].text));
        }
    }
}

std::vector<int> TableRenderer::shrunkTo(int width) const {
    std::vector<int> widths = widest_;
    const int gaps = kGap * (static_cast<int>(widths.size()) - 1);
    int excess = std::accumulate(widths.begin(), widths.end(), gaps) - width;
    std::vector<std::size_t> order(widths.size());
    std::iota(order.begin(), order.end(), 0U);
    std::stable_sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
        return columns_[a].shrinkRank > columns_[b].shrinkRank;
    });
    for (const std::size_t column : order) {
        const int spare = std::max(0, widths[column] - columns_[column].minWidth);
        const int taken = std::clamp(excess, 0, spare);
        widths[column] -= taken;
        excess -= taken;
    }
    return widths;
}

namespace {

std::string_view escapeFor(Emphasis emphasis) {
    switch (emphasis) {
        case Emphasis::changed:
            return "\x1b[1m";
        case Emphasis::doubtful:
            return "\x1b[33m";
        case Emphasis::bad:
            return "\x1b[31m";
        case Emphasis::none:
            break;
    }
    return {};
}

std::string rendered(const TableCell& cell, int width, bool colours) {
    if (!colours && cell.emphasis == Emphasis::changed) {
        return fitted(cell.text, width - 1, cell.align) + "*";
    }
    const std::string_view escape = colours ? escapeFor(cell.emphasis) : std::string_view{};
    std::string text = fitted(cell.text, width, cell.align);
    if (escape.empty()) return text;
    return std::string{escape} + text + "\x1b[0m";
}

}  // namespace

std::vector<std::string> TableRenderer::render(const std::vector<Row>& rows, int width,
                                               bool colours) {
    widen(rows);
    const std::vector<int> widths = shrunkTo(width);
    Row titles;
    for (const TableColumn& column : columns_)
        titles.push_back({column.title});

    std::vector<std::string> lines;
    const auto addLine = [&](const Row& row) {
        std::string line;
        int used = 0;
        for (std::size_t column = 0; column < row.size() && used < width; ++column) {
            if (column > 0) line += std::string(kGap, ' ');
            const int room = std::min(widths[column], width - used);
            line += rendered(row[column], room, colours);
            used += room + kGap;
        }
        lines.push_back(std::move(line));
    };
    addLine(titles);
    for (const Row& row : rows)
        addLine(row);
    return lines;
}

}  // namespace tools::opcuaview
