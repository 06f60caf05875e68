#pragma once

#include <open62541/types.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <optional>
#include <string>

#include "tools/client/parse_value.h"

// --from, --to and --last.
namespace tools::opcuaview {

/// The time of a history, as it was asked for.
struct TimeChoice {
    std::string from;  ///< empty: `last` before the end
    std::string to;    ///< empty: now
    std::chrono::seconds last = std::chrono::hours{1};
};

/// Both ends belong to it.
struct TimeRange {
    UA_DateTime from = 0;
    UA_DateTime to = 0;
};

/// Adds the options, with their checks. `choice` lives as long as the command.
void addTimeOptions(CLI::App& command, TimeChoice& choice);

/// @param choice  its texts have been checked
[[nodiscard]] TimeRange timeRange(const TimeChoice& choice, UA_DateTime now);

/// "30d", "12h", "45m" or "90s".
[[nodiscard]] std::optional<std::chrono::seconds> parseDuration(const std::string& text);

}  // namespace tools::opcuaview
