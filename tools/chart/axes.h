#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/chart/curve.h"

namespace tools {

/// What decides on which axis a curve is drawn.
struct AxisNeed {
    std::optional<Range> range;  ///< of its values; a curve without any needs no axis
    std::string unit;            ///< empty: unknown
};

struct Axis {
    Range range;  ///< wider than nothing
    std::string unit;
    std::vector<std::size_t> curves;  ///< indices, ascending
};

/// Distributes curves over as few axes as possible without flattening any: curves share an axis if they have
/// the same unit, or none, and each takes at least a quarter of the common range. A nearly steady curve, such
/// as a set point, shares the axis of a curve that runs near it.
[[nodiscard]] std::vector<Axis> groupAxes(const std::vector<AxisNeed>& curves);

}  // namespace tools
