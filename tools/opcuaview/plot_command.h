#pragma once

#include <string>
#include <vector>

#include "tools/chart/drawing.h"
#include "tools/command_line/command_line.h"
#include "tools/opcuaview/exit_status.h"
#include "tools/opcuaview/options.h"
#include "tools/opcuaview/time_choice.h"

namespace tools::opcuaview {

struct PlotOptions {
    ServerOptions server;
    std::vector<std::string> pens;   ///< parts of node ids or names, each names one pen
    std::vector<std::string> nodes;  ///< "ns=2;s=..."
    TimeChoice time;
    std::string out;    ///< path of the picture; empty: drawn in the terminal
    std::string title;  ///< empty: made of the plotters' names
    PictureSize size;
};

/// Adds "plot" to the program; `status` receives its exit status.
void addPlotCommand(CommandLine& line, ExitStatus& status);

/// Reads the histories and draws them, in the terminal or as a picture.
[[nodiscard]] ExitStatus plotHistories(const PlotOptions& options);

}  // namespace tools::opcuaview
