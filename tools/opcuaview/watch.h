#pragma once

#include <chrono>
#include <string>

#include "tools/opcuaview/exit_status.h"
#include "tools/opcuaview/item_list.h"
#include "tools/opcuaview/session.h"

namespace CLI {
class App;
}

namespace opcuaview {

struct WatchOptions {
    std::string url = kDefaultUrl;
    ItemChoice choice;
    double waitSeconds = 10;
    double runSeconds = 0;  ///< 0: until a signal
    int intervalMs = 500;
    bool plain = false;
    std::string trend;        ///< part of a pen's node id; empty: no trend
    int trendMinutes = 10;    ///< how far back it is shown
    bool limitGiven = false;  ///< else as many variables as the output shows well
};

/// Adds "watch" to the program; `status` gets what it answers.
void addWatchCommand(CLI::App& app, ExitStatus& status);

/// Reads the chosen variables again and again and shows them until the time is over or a signal
/// comes.
[[nodiscard]] ExitStatus watch(const WatchOptions& options);

}  // namespace opcuaview
