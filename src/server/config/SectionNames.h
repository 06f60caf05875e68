#pragma once

#include <array>
#include <string_view>

// Recognises the sections of the configuration file by their names, which are CP866 and
// case-sensitive.

inline constexpr std::string_view kGeneralSection = "General";
inline constexpr std::string_view kAccessSection = "Access";
inline constexpr std::string_view kFlatSection = "Attributes";  ///< the flat tree
/// Followed by a number: a group of tags.
inline constexpr std::string_view kGroupSection = "Attributes_Group";
/// Followed by a number: a plotter.
inline constexpr std::string_view kPlotterSection = "Plotter_";
/// The name under which the schema keeps the keys of all plotters.
inline constexpr std::string_view kPlotterSchema = "Plotter";

[[nodiscard]] constexpr bool isFlatSection(std::string_view name) {
    return name == kFlatSection;
}

/// KEPT: these texts may be anywhere in the name, and a name may contain both. Required by the
/// interface.
[[nodiscard]] constexpr bool holdsGroup(std::string_view name) {
    return name.find(kGroupSection) != std::string_view::npos;
}
[[nodiscard]] constexpr bool holdsPlotter(std::string_view name) {
    return name.find(kPlotterSection) != std::string_view::npos;
}

/// The name under which the schema keeps the section's keys. A name that contains both texts counts
/// as a plotter's.
[[nodiscard]] constexpr std::string_view schemaNameOf(std::string_view name) {
    if (holdsPlotter(name)) return kPlotterSchema;
    return holdsGroup(name) ? kGroupSection : name;
}

/// Whether attribute entries in it say how tags are published.
[[nodiscard]] constexpr bool holdsEntries(std::string_view name) {
    return isFlatSection(name) || schemaNameOf(name) == kGroupSection;
}

/// The keys that list tags, one for each kind of variable. The order is required by the interface.
inline constexpr auto kTagListKeys =
    std::to_array<std::string_view>({"VA", "VD", "DV", "AV", "RV"});

/// A key that contains this text is an attribute entry.
inline constexpr std::string_view kEntryMark = "Type";

[[nodiscard]] constexpr bool isEntryKey(std::string_view key) {
    return key.find(kEntryMark) != std::string_view::npos;
}
