#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "server/config/Section.h"

/// Pens by plotter number, one entry for each plotter section; an empty list means all pens.
using PenLists = std::vector<std::map<int, std::vector<std::int32_t>>>;

/// Which of the trend system's plotters are published, and under which names.
struct PlotterSelection {
    std::map<int, std::string> nameByPlotter;  ///< CP866; may be empty
    PenLists pens;                             ///< in the order of the sections
};

/// Reads the sections whose name contains "Plotter_". If two have the same number, the first name
/// is used and both lists are kept. A section without a number in its name, or with a number that
/// the trend system does not have, selects nothing.
/// @param plotterCount  number of plotters of the trend system, which are numbered from 1
[[nodiscard]] PlotterSelection selectPlotters(const std::vector<Section>& sections,
                                              std::uint64_t plotterCount);
