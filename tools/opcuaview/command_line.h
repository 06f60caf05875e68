#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "tools/opcuaview/exit_status.h"

/// The program's command line; its subcommands add themselves (watch.h).
namespace opcuaview {

/// Parses the arguments and runs the chosen subcommand. A refused command line is explained on
/// standard error and answered with kBadUsage, before anything is connected to.
[[nodiscard]] int runProgram(int argc, const char* const* argv);

/// Adds a subcommand that talks to a server, with the options that all of those have. `url` and
/// `waitSeconds` live as long as `app`.
[[nodiscard]] CLI::App& addServerCommand(CLI::App& app, const char* name, const char* description,
                                         std::string& url, double& waitSeconds);

/// Checks with messages for operators.
[[nodiscard]] CLI::Validator numberFrom(double least, double most);
[[nodiscard]] CLI::Validator nodeIdText();

}  // namespace opcuaview
