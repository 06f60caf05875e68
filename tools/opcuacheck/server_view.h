#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "server/config/NumberLists.h"
#include "server/diagnostics/OperatorMessages.h"
#include "server/plan/ItemPlan.h"
#include "server/plan/PlotterSelection.h"
#include "server/plan/TagGroups.h"
#include "tools/opcuacheck/database.h"

namespace tools::opcuacheck {

/// A tag that one of the operative trees publishes.
struct PublishedTag {
    const PublishedType* type;
    int tag;
    int groupFolder;  ///< 0 in the flat tree
    bool typeKnown;   ///< false: a manual input that may also have another sub-kind
};

/// Tags of one kind that a place lists although they are published elsewhere.
struct TagConflict {
    VariableType kind;
    int groupFolder;  ///< that lists them without effect
    int firstTag;
    int ownerFolder;  ///< where the first of them is published; 0: the flat tree
    int count;
};

/// The value variables of one type in one place.
struct TypeItems {
    std::vector<ItemPlan::Item> items;  ///< those whose nodes are made
    bool added = false;                 ///< at least one add is attempted
    /// The last add fails because its node id is taken; the server then removes the structure
    /// again.
    bool rolledBack = false;
};

/// One report and whether the server gets to make it: after a fatal one it sleeps.
struct GivenReport {
    ConfigErrorReport report;
    bool given;
};

/// What the server would do with a configuration file, computed by its own code, without a
/// database, OPC UA library, journal or log.
struct ServerView {
    std::vector<Section> sections;     ///< as loaded
    std::vector<GivenReport> reports;  ///< in the server's order
    std::string applicationName;       ///< UTF-8
    int cycleTimeMs = 0;
    std::optional<int> port;  ///< none: the server does not start
    bool operative = false;
    bool historical = false;

    /// False: the lists are too long to be expanded, and the members below are empty.
    bool worked = false;
    TagLists flat;
    std::vector<TagGroup> groups;
    std::vector<PublishedTag> tags;  ///< in the server's order
    std::vector<TagConflict> conflicts;
    std::map<std::pair<unsigned, int>, TypeItems>
        items;  ///< by folder id of the type, group folder
    PlotterSelection plotters;

    /// Variables of a kind; if unknown, enough for those that are listed, and at least one.
    std::array<int, kKinds.size()> assumedCounts{};
};

/// The trees are computed for at most this many tags in all lists together.
inline constexpr std::int64_t kMostTags = 5'000'000;

/// @param path  of a file that can be opened; lines are searched in it
/// @param settingsPath  the controller's settings file, for its number and cycle; may be missing
[[nodiscard]] ServerView viewAsServer(const std::string& path, const std::string& settingsPath,
                                      const Database& database);

/// How many numbers the ranges contain, without 0 and with overlaps counted repeatedly, as the
/// server expands them.
[[nodiscard]] std::int64_t expandedCount(const std::vector<NumberRange>& ranges);
/// The ranges sorted, from 1 on, without overlaps and without empty ranges.
[[nodiscard]] std::vector<NumberRange> mergedRanges(std::vector<NumberRange> ranges);

}  // namespace tools::opcuacheck
