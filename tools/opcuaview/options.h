#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "tools/command_line/command_line.h"

// What the subcommands' command lines have in common.
namespace tools::opcuaview {

/// Adds a subcommand that talks to a server, with the options that all of those have. `url` and
/// `waitSeconds` live as long as `line`.
[[nodiscard]] CLI::App& addServerCommand(CommandLine& line, const char* name,
                                         const Text& description, std::string& url,
                                         double& waitSeconds);

/// Checks with messages for operators.
[[nodiscard]] CLI::Validator numberFrom(double least, double most);
[[nodiscard]] CLI::Validator nodeIdText();

}  // namespace tools::opcuaview
