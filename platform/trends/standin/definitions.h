#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The file that defines plotters and pens, `trends.ini` among the controller's settings; CP866.
/// Its format, with an example, is in docs/simulator.md.
namespace trends {

/// The number of a pen in the archive.
constexpr std::int64_t penKey(std::uint32_t plotterNum, std::uint32_t penNum) {
    return std::int64_t{plotterNum} * 65536 + penNum;
}

/// A pen records one variable of the database.
struct PenDefinition {
    std::int32_t variableKind = 0;  // 0 VA, 1 AV, 2 RV, 3 VD, 4 DV
    std::uint16_t variableNum = 0;  // from 1
    std::int16_t valueType = 0;     // jxo::kVt...
    std::string nameCp866;          // may be empty
};

struct PlotterDefinition {
    std::string nameCp866;
    std::vector<PenDefinition> pens;  // pen 1 first
};

struct Definitions {
    std::vector<PlotterDefinition> plotters;  // plotter 1 first

    /// The pen, or null where there is none. Both numbers count from 1.
    [[nodiscard]] const PenDefinition* find(std::uint32_t plotterNum, std::uint32_t penNum) const;
};

/// Sections "Plotter_1", "Plotter_2", ... and in each the keys "Name" and "Pen_1", "Pen_2", ...,
/// numbered without gaps; anything else is a mistake.
/// @param problem  set to the place of the first mistake ("[Plotter_2] Pen_3"), else emptied
/// @return no plotters when something is wrong
[[nodiscard]] Definitions parseDefinitions(std::string_view text, std::string& problem);

/// Reads the file. An unreadable file is a problem too.
[[nodiscard]] Definitions loadDefinitions(const std::string& file, std::string& problem);

}  // namespace trends
