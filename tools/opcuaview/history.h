#pragma once

#include <string>

#include "tools/client/json.h"
#include "tools/client/session.h"
#include "tools/command_line/command_line.h"
#include "tools/opcuaview/exit_status.h"
#include "tools/opcuaview/time_choice.h"

namespace tools::opcuaview {

struct HistoryOptions {
    std::string url = kDefaultUrl;
    std::string nodeId;  ///< "ns=2;s=..."; if empty, the pen is found by `pen`
    std::string pen;     ///< part of the node id or the name, in any case
    TimeChoice time;
    double waitSeconds = 10;
    bool list = false;  ///< only the pens
    bool plot = false;  ///< a picture instead of CSV
    bool json = false;  ///< an object per line instead of CSV: time, value, quality
};

/// Adds "history" to the program; `status` receives its exit status.
void addHistoryCommand(CommandLine& line, ExitStatus& status);

/// Reads the history of one pen and writes it to standard output.
[[nodiscard]] ExitStatus readHistory(const HistoryOptions& options);

/// One line of the CSV output: UTC time with microseconds, value, quality.
[[nodiscard]] std::string csvLine(const HistoryValue& value);

/// The same as an object: time, value, quality; null for what is missing.
[[nodiscard]] Json historyJson(const HistoryValue& value);

}  // namespace tools::opcuaview
