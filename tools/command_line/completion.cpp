#include "tools/command_line/completion.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <map>
#include <string_view>
#include <vector>

namespace tools {

namespace {

// The script; PROGRAM is the program's name.

constexpr const char* kBegin = R"(# Made by the build from the options of PROGRAM: do not edit.
_PROGRAM() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command='' options='' words='' word
    # For bash --lang=ru is three words.
    if [[ $current == = ]]; then
        current=''
    elif [[ $previous == = ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $command:$word in
)";

constexpr const char* kOptions = R"(        esac
    done
    case $command in
)";

constexpr const char* kValues = R"(    esac
    if [[ $current == -* || ! $words ]]; then words=$options; fi
    case $command:$previous in
)";

constexpr const char* kEnd = R"(    esac
    case $words in
        FILE | FOLDER) compopt -o filenames 2>/dev/null ;;&
        FILE) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
        FOLDER) mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
        *) mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current") ;;
    esac
}
complete -F _PROGRAM PROGRAM
)";

using Options = std::vector<const CLI::Option*>;
using Commands = std::vector<const CLI::App*>;

Commands commandsOf(const CLI::App& app) {
    return app.get_subcommands(
        [](const CLI::App* command) { return !command->get_name().empty(); });
}

std::vector<std::string> spellings(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames())
        names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

/// What the script's `words` are for a value with this name in the help.
std::string wordsOf(const std::string& value) {
    if (value.starts_with("FOLDER")) return "FOLDER";
    if (value.starts_with("FILE")) return "FILE";
    if (value.find('|') == std::string::npos) return {};
    std::string words = value;
    std::ranges::replace(words, '|', ' ');
    return words;
}

std::string argumentWords(const CLI::App& command) {
    std::string words;
    for (const CLI::App* subcommand : commandsOf(command))
        words += (words.empty() ? "" : " ") + subcommand->get_name();
    for (const CLI::Option* option : command.get_options()) {
        if (!words.empty() || !option->get_positional()) continue;
        const std::string value = option->get_type_name();
        words = wordsOf(value.empty() ? option->get_name(true) : value);
    }
    return words;
}

/// The command's options, and the program's where it takes those too.
Options optionsOf(const CLI::App& app, const CLI::App& command) {
    Options options = command.get_options();
    if (!command.get_fallthrough()) return options;
    for (const CLI::Option* option : app.get_options()) {
        const bool held = std::ranges::any_of(
            options, [&](const auto* own) { return spellings(*own) == spellings(*option); });
        if (!held) options.push_back(option);
    }
    return options;
}

/// What may stand behind the command. @param name  empty for the program itself
std::string optionLine(const CLI::App& command, const std::string& name, const Options& options) {
    std::vector<std::string> names;
    for (const CLI::Option* option : options)
        std::ranges::copy(spellings(*option), std::back_inserter(names));
    return "        '" + name + "') options='" + CLI::detail::join(names, " ") + "' words='" +
           argumentWords(command) + "' ;;\n";
}

/// A line for each set of words, with the options that take them.
std::string valueLines(const std::string& command, const Options& options) {
    std::map<std::string, std::vector<std::string>> byWords;
    for (const CLI::Option* option : options) {
        if (option->get_expected_max() == 0) continue;  // a flag
        for (const std::string& name : spellings(*option)) {
            std::string& pattern = byWords[wordsOf(option->get_type_name())].emplace_back(command);
            pattern.append(":").append(name);
        }
    }
    std::string lines;
    for (const auto& [words, patterns] : byWords) {
        lines.append("        ").append(CLI::detail::join(patterns, " | "));
        lines.append(") words='").append(words).append("' ;;\n");
    }
    return lines;
}

}  // namespace

std::string bashCompletion(const CLI::App& app) {
    std::string commands;
    std::string optionLines = optionLine(app, "", app.get_options());
    std::string values = valueLines("", app.get_options());
    for (const CLI::App* command : commandsOf(app)) {
        const std::string name = command->get_name();
        const Options options = optionsOf(app, *command);
        commands += (commands.empty() ? "            :" : " | :") + name;
        optionLines += optionLine(*command, name, options);
        values += valueLines(name, options);
    }
    if (!commands.empty()) commands += ") command=$word ;;\n";
    const std::string script = kBegin + commands + kOptions + optionLines + kValues + values + kEnd;
    return CLI::detail::find_and_replace(script, "PROGRAM", app.get_name());
}

}  // namespace tools
