#pragma once

#include "tools/command_line/reader.h"

/// The program's command line; its subcommands add themselves (watch.h).
namespace tools::opcuaview {

/// Parses the arguments and runs the chosen subcommand. An invalid command line is explained on
/// standard error and gives kBadUsage, before any connection is made.
[[nodiscard]] int runProgram(int argc, const char* const* argv);

/// Shows `reader` the command line.
void describe(Language language, const CommandLineReader& reader);

}  // namespace tools::opcuaview
