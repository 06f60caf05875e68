#pragma once

#include <string>

#include "tools/client/item_list.h"
#include "tools/client/session.h"
#include "tools/command_line/command_line.h"
#include "tools/opcuaview/exit_status.h"

namespace tools::opcuaview {

struct WatchOptions {
    std::string url = kDefaultUrl;
    ItemChoice choice;
    double waitSeconds = 10;
    double runSeconds = 0;  ///< 0: until a signal
    int intervalMs = 500;
    bool plain = false;
    bool json = false;
    std::string trend;        ///< part of a pen's node id; empty: no trend
    int trendMinutes = 10;    ///< how far back it is shown
    bool limitGiven = false;  ///< otherwise as many variables as the output takes
    double oldSeconds = 60;   ///< source times of that age are marked as old; 0: none
};

/// Adds "watch" to the program; `status` receives its exit status.
void addWatchCommand(CommandLine& line, ExitStatus& status);

/// Reads the chosen variables repeatedly and shows them until the time is over, a signal arrives or
/// the operator closes the table.
[[nodiscard]] ExitStatus watch(const WatchOptions& options);

}  // namespace tools::opcuaview
