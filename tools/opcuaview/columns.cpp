#include "tools/opcuaview/columns.h"

#include <algorithm>
#include <numeric>

namespace tools::opcuaview {

namespace {

/// Of all columns and the gaps between them.
int totalOf(const std::vector<int>& widths) {
    const auto shown = std::count_if(widths.begin(), widths.end(), [](int w) { return w > 0; });
    const int gaps = kColumnGap * std::max(0, static_cast<int>(shown) - 1);
    return std::accumulate(widths.begin(), widths.end(), gaps);
}

}  // namespace

std::vector<int> columnWidths(const std::vector<ColumnRule>& rules, const std::vector<int>& widest,
                              int width) {
    std::vector<std::size_t> order(rules.size());
    std::iota(order.begin(), order.end(), 0U);
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return rules[a].rank > rules[b].rank; });
    std::vector<int> least;
    for (std::size_t i = 0; i < rules.size(); ++i)
        least.push_back(std::min(widest[i], rules[i].minWidth));
    std::vector<int> widths = widest;
    for (const std::size_t column : order) {
        if (totalOf(least) <= width) break;
        if (least[column] == totalOf(least)) {  // the only one that is left
            least[column] = width;
            break;
        }
        least[column] = 0;
        widths[column] = 0;
    }
    for (const std::size_t column : order) {
        const int excess = totalOf(widths) - width;
        if (excess <= 0) break;
        widths[column] = std::max(least[column], widths[column] - excess);
    }
    return widths;
}

}  // namespace tools::opcuaview
