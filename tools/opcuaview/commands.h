#pragma once

#include "tools/command_line/command_line.h"
#include "tools/opcuaview/exit_status.h"

/// The commands that ask a server once. Each adds itself to the program; `status` receives its exit
/// status. Watching and histories have headers of their own.
namespace tools::opcuaview {

/// `tree [NODE]`: what a server publishes, with types, access, values and units.
void addTreeCommand(CommandLine& line, ExitStatus& status);

/// `read NODE...`: values with qualities and times.
void addReadCommand(CommandLine& line, ExitStatus& status);

/// `write NODE VALUE`: asks, writes, and shows what the server has afterwards.
void addWriteCommand(CommandLine& line, ExitStatus& status);

/// `info`: endpoints, identity, state, limits.
void addInfoCommand(CommandLine& line, ExitStatus& status);

/// `check`: one line and an exit status for a monitoring system.
void addCheckCommand(CommandLine& line, ExitStatus& status);

}  // namespace tools::opcuaview
