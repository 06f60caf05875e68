#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "tools/client/session.h"
#include "tools/command_line/command_line.h"
#include "tools/opcuaview/exit_status.h"

namespace tools::opcuaview {

struct HistoryOptions {
    std::string url = kDefaultUrl;
    std::string nodeId;  ///< "ns=2;s=..."; if empty, the pen is found by `pen`
    std::string pen;     ///< part of the node id or the name, in any case
    std::string from;    ///< empty: `last` before the end
    std::string to;      ///< empty: now
    std::chrono::seconds last = std::chrono::hours{1};
    double waitSeconds = 10;
    bool list = false;  ///< only the pens
    bool plot = false;  ///< a picture instead of CSV
};

/// Adds "history" to the program; `status` receives its exit status.
void addHistoryCommand(CommandLine& line, ExitStatus& status);

/// Reads the history of one pen and writes it to standard output.
[[nodiscard]] ExitStatus readHistory(const HistoryOptions& options);

/// A time such as "2026-11-21", "2026-11-21 12:33", "... 12:33:10" or "... 12:33:10.123": local, or
/// UTC with a "Z" after it. A "T" may replace the blank.
[[nodiscard]] std::optional<UA_DateTime> parseTime(const std::string& text);

/// "30d", "12h", "45m" or "90s".
[[nodiscard]] std::optional<std::chrono::seconds> parseDuration(const std::string& text);

/// The pens whose node id or name contains the text, ignoring case; all for an empty text.
[[nodiscard]] std::vector<const Child*> matchingPens(const std::vector<Child>& pens,
                                                     const std::string& text);

/// One line of the CSV output: UTC time with microseconds, value, quality.
[[nodiscard]] std::string csvLine(const HistoryValue& value);

}  // namespace tools::opcuaview
