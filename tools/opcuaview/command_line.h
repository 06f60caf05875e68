#pragma once

/// The program's command line; its subcommands add themselves (watch.h).
namespace opcuaview {

/// Parses the arguments and runs the chosen subcommand. A refused command line is explained on
/// standard error and answered with kBadUsage, before anything is connected to.
[[nodiscard]] int runProgram(int argc, const char* const* argv);

}  // namespace opcuaview
