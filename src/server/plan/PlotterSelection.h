#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "server/config/Section.h"

/// Pens by plotter number, one entry for each plotter section; no pens stands for all of a plotter.
using PenLists = std::vector<std::map<int, std::vector<std::int32_t>>>;

/// Which of the trend system's plotters are published, and under which names.
struct PlotterSelection {
    std::map<int, std::string> nameByPlotter;  ///< CP866; may be empty
    PenLists pens;                             ///< in the order of the sections
};

/// Reads the sections whose name contains "Plotter_". Of two with one number the first name holds,
/// and both lists stay. A section without a number in its name, or with one that the trend system
/// does not have, selects nothing.
/// @param plotterCount  of the trend system, whose plotters are numbered 1 to this
[[nodiscard]] PlotterSelection selectPlotters(const std::vector<Section>& sections,
                                              std::uint64_t plotterCount);
