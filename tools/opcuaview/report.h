#pragma once

#include <string>
#include <vector>

#include "tools/client/details.h"
#include "tools/client/json.h"
#include "tools/opcuaview/exit_status.h"

/// What several commands print.
namespace tools::opcuaview {

/// A line on standard output.
void print(const std::string& line);

/// Lines on standard output with aligned columns, two blanks apart; the last column is not padded.
void printAligned(const std::vector<std::vector<std::string>>& rows);

/// Adds what is known of a variable: value, type, access, quality, sourceTime, serverTime.
void addDetails(Json& object, const Details& details);

/// Reports a request that failed in the middle of a command.
/// @return the program's exit status
[[nodiscard]] ExitStatus failed(const Session& session, UA_StatusCode status);

}  // namespace tools::opcuaview
