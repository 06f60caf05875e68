#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "tools/text/language.h"

namespace tools {

/// The language that --lang asks for, Russian without it. It is needed before anything is parsed, for help
/// and refusals; whether the word behind --lang is right is checked later.
[[nodiscard]] Language askedLanguage(int argc, const char* const* argv);

/// The command line of a tool, with help and refusals in the operator's language, --help and --lang.
class CommandLine {
  public:
    /// @param name         of the program; it begins every message on standard error
    /// @param description  what the program does, at the top of the help
    /// @param footer       end of the help: exit statuses, documents
    CommandLine(std::string_view name, const Text& description, const Text& footer,
                Language language);
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// For options and subcommands; lives as long as this object.
    [[nodiscard]] CLI::App& app() { return app_; }
    [[nodiscard]] Language language() const { return language_; }
    /// The text in the operator's language.
    [[nodiscard]] std::string in(const Text& text) const { return text.in(language_); }

    /// Adds a subcommand. The options of the program may stand behind it too.
    CLI::App& command(std::string_view name, const Text& description);

    /// An option with a value. @param value  name of the value in the help
    CLI::Option& option(std::string_view name, std::string& target, const Text& help,
                        const Text& value);
    /// An option without a value; the command line refuses one.
    CLI::Option& flag(std::string_view name, bool& target, const Text& help);

    /// Parses; prints the help, if it is wanted, or why the command line is refused.
    /// @return the exit status, if the program is to end: 0 after the help, `badUsage` after a refusal
    [[nodiscard]] std::optional<int> parse(int argc, const char* const* argv, int badUsage);

    /// Prints on standard error why the command line is refused, and where the help is.
    void refuse(std::string_view reason) const;

  private:
    CLI::App app_;
    Language language_;
    std::string languageName_;
};

}  // namespace tools
