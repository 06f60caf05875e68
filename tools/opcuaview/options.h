#pragma once

#include <CLI/CLI.hpp>
#include <string>

// What the subcommands' command lines have in common.
namespace opcuaview {

/// Heading of the options in the help.
inline constexpr const char* kOptionGroup = "Ключи";

/// Adds a subcommand that talks to a server, with the options that all of those have. `url` and
/// `waitSeconds` live as long as `app`.
[[nodiscard]] CLI::App& addServerCommand(CLI::App& app, const char* name, const char* description,
                                         std::string& url, double& waitSeconds);

/// Checks with messages for operators.
[[nodiscard]] CLI::Validator numberFrom(double least, double most);
[[nodiscard]] CLI::Validator nodeIdText();

}  // namespace opcuaview
