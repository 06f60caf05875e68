#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Lists of variable or pen numbers in the configuration's notation: "3, 7, 10-25" or "all". The
// results are sorted, without duplicates and without 0. One bad item empties the whole list without
// a report. A range is expanded in full, however long. No state, any thread.

/// A range as written, before it is expanded. `first` and `last` may be 0; `first` may be greater
/// than `last`, and the range then adds no number.
struct NumberRange {
    std::int32_t first;
    std::int32_t last;
};
struct NumberList {
    bool all = false;                    ///< the word "all"
    std::vector<NumberRange> ranges;     ///< in the order written; empty with a bad item
    std::optional<std::string> badItem;  ///< the first one that is neither number nor range
};
[[nodiscard]] NumberList readNumberList(const std::string& value);

/// Tag numbers of the flat operative tree. "all" gives the single number -1, which means every tag.
[[nodiscard]] std::vector<std::int32_t> getNumbersTagsOperative(const std::string& value);
/// Tag numbers of a group: the same rules.
[[nodiscard]] std::vector<std::int32_t> getNumbersTagsOperativeByGroup(const std::string& value);
/// Pen numbers of a plotter. "all" gives the empty list, which means every pen.
[[nodiscard]] std::vector<std::int32_t> getNumbersTagsHistorical(const std::string& value);

/// The number N of a section "Attributes_GroupN"; -1 for any other name, even if ListSections
/// accepts it because it contains such a text.
[[nodiscard]] std::int32_t getNumberGroup(const std::string& sectionName);
/// The number N of a section "Plotter_N"; -1 for any other name.
[[nodiscard]] std::int32_t getNumberPlotter(const std::string& sectionName);
