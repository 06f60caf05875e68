#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "server/config/NumberLists.h"
#include "server/diagnostics/OperatorMessages.h"
#include "server/plan/ItemPlan.h"
#include "server/plan/PlotterSelection.h"
#include "server/plan/TagGroups.h"
#include "tools/opcuacheck/database.h"

namespace opcuacheck {

/// A tag that one of the operative trees publishes.
struct PublishedTag {
    const PublishedType* type;
    int tag;
    int groupFolder;  ///< 0 in the flat tree
    bool typeKnown;   ///< false: a manual input that may as well be of another sub-kind
};

/// Tags of one kind that a place lists although they are published elsewhere.
struct TagConflict {
    VariableType kind;
    int groupFolder;  ///< that lists them in vain
    int firstTag;
    int ownerFolder;  ///< where the first of them is published; 0: the flat tree
    int count;
};

/// The value variables of one type in one place.
struct TypeItems {
    std::vector<ItemPlan::Item> items;  ///< those whose nodes are made
    bool added = false;                 ///< at least one add is tried
    /// The last add fails, for its node id is taken: then the server removes the structure again.
    bool rolledBack = false;
};

/// One report and whether the server lives to give it: after a fatal one it sleeps.
struct GivenReport {
    ConfigErrorReport report;
    bool given;
};

/// What the server makes of a configuration file, worked out by its own code, without database, OPC
/// UA library, journal and log.
struct ServerView {
    std::vector<Section> sections;     ///< as loaded
    std::vector<GivenReport> reports;  ///< in the server's order
    std::string applicationName;       ///< UTF-8
    int cycleTimeMs = 0;
    bool operative = false;
    bool historical = false;

    /// False: the lists are too long to be worked out, and what follows is empty.
    bool worked = false;
    TagLists flat;
    std::vector<TagGroup> groups;
    std::vector<PublishedTag> tags;  ///< in the server's order
    std::vector<TagConflict> conflicts;
    std::map<std::pair<unsigned, int>, TypeItems>
        items;  ///< by folder id of the type, group folder
    PlotterSelection plotters;

    /// Variables of a kind, where that is not known at least those that are listed, and one.
    std::array<int, kKinds.size()> assumedCounts{};
};

/// Tags in all lists together up to which the trees are worked out.
inline constexpr std::int64_t kMostTags = 5'000'000;

/// @param path  of a file that can be opened; lines are searched in it
/// @param settingsPath  the controller's settings file, for its number and cycle; may be missing
[[nodiscard]] ServerView viewAsServer(const std::string& path, const std::string& settingsPath,
                                      const Database& database);

/// How many numbers the ranges hold, 0 not counted, overlaps counted each time, as the server
/// expands them.
[[nodiscard]] std::int64_t expandedCount(const std::vector<NumberRange>& ranges);
/// The ranges sorted, from 1 on, without overlaps and empty ones.
[[nodiscard]] std::vector<NumberRange> mergedRanges(std::vector<NumberRange> ranges);

}  // namespace opcuacheck
