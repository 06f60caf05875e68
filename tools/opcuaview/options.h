#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "tools/client/session.h"
#include "tools/command_line/command_line.h"

// What the subcommands' command lines have in common.
namespace tools::opcuaview {

/// Adds a subcommand that talks to a server, with the options that all of those have. `url` and
/// `waitSeconds` live as long as `line`.
[[nodiscard]] CLI::App& addServerCommand(CommandLine& line, const char* name,
                                         const Text& description, std::string& url,
                                         double& waitSeconds);

/// What all commands have in common.
struct ServerOptions {
    std::string url = kDefaultUrl;
    double waitSeconds = 10;
    bool json = false;  ///< JSON instead of text on standard output
};

/// The same with --json. `options` lives as long as `line`.
[[nodiscard]] CLI::App& addServerCommand(CommandLine& line, const char* name,
                                         const Text& description, ServerOptions& options);

/// Adds --json.
void addJsonFlag(CLI::App& command, bool& json);

/// Adds --filter, which can be repeated.
void addFilter(CLI::App& command, std::vector<std::string>& filters);

/// Checks with messages for operators.
[[nodiscard]] CLI::Validator numberFrom(double least, double most);
[[nodiscard]] CLI::Validator nodeIdText();

}  // namespace tools::opcuaview
