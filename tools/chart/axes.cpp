#include "tools/chart/axes.h"

#include <algorithm>
#include <cmath>

namespace tools {

namespace {

Range unionOf(const Range& a, const Range& b) {
    return {std::min(a.low, b.low), std::max(a.high, b.high)};
}

/// A switch is never steady: its range is 0 to 1 even while nothing happens.
Range shownRange(const Range& range) {
    const bool constant = range.span() == 0;
    return constant && (range.low == 0 || range.low == 1) ? Range{0, 1} : range;
}

bool isSteady(const Range& range) {
    constexpr double kNoise = 0.01;  // of the value
    return range.span() <= kNoise * std::max(std::fabs(range.low), std::fabs(range.high));
}

bool fitTogether(const Range& a, const Range& b) {
    constexpr double kMostOfNarrow = 4;
    constexpr double kMostBesideSteady = 1.25;
    const double common = unionOf(a, b).span();
    const Range& narrow = a.span() < b.span() ? a : b;
    const Range& wide = a.span() < b.span() ? b : a;
    if (common == 0) return true;
    return isSteady(narrow) ? common <= kMostBesideSteady * wide.span()
                            : common <= kMostOfNarrow * narrow.span();
}

}  // namespace

std::vector<Axis> groupAxes(const std::vector<AxisNeed>& curves) {
    std::vector<Axis> axes;
    for (std::size_t i = 0; i < curves.size(); ++i) {
        if (!curves[i].range) continue;
        const Range range = shownRange(*curves[i].range);
        const auto axis = std::find_if(axes.begin(), axes.end(), [&](const Axis& other) {
            return other.unit == curves[i].unit && fitTogether(other.range, range);
        });
        if (axis == axes.end()) {
            axes.push_back({range, curves[i].unit, {i}});
        } else {
            axis->range = unionOf(axis->range, range);
            axis->curves.push_back(i);
        }
    }
    for (Axis& axis : axes)
        axis.range = withRoom(axis.range);
    return axes;
}

}  // namespace tools
