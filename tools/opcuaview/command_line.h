#pragma once

/// The program's command line; its subcommands add themselves (watch.h).
namespace tools::opcuaview {

/// Parses the arguments and runs the chosen subcommand. An invalid command line is explained on
/// standard error and gives kBadUsage, before any connection is made.
[[nodiscard]] int runProgram(int argc, const char* const* argv);

}  // namespace tools::opcuaview
