#include "tools/command_line/manual.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <iterator>
#include <set>
#include <utility>
#include <vector>

#include "tools/text/text.h"

namespace tools {

namespace {

using Options = std::vector<const CLI::Option*>;
using Commands = std::vector<const CLI::App*>;

// The name of the first section is one of those by which apropos finds it.
constexpr Text kName{"ИМЯ", "NAME"};
constexpr Text kSynopsis{"ВЫЗОВ", "SYNOPSIS"};
constexpr Text kDescription{"ОПИСАНИЕ", "DESCRIPTION"};
constexpr Text kOptions{"КЛЮЧИ", "OPTIONS"};
constexpr Text kCommands{"КОМАНДЫ", "COMMANDS"};
constexpr Text kExitStatus{"КОД ЗАВЕРШЕНИЯ", "EXIT STATUS"};
constexpr Text kExitStatusLabel{"Код завершения: ", "Exit status: "};
constexpr Text kBook{"Контроллер", "Controller"};
constexpr Text kOptionWord{"ключ", "option"};
constexpr Text kDefault{"По умолчанию: ", "Default: "};
constexpr Text kNeeds{"Только вместе с ", "Only with "};
constexpr Text kExcludes{"Не вместе с ", "Not with "};
constexpr Text kRequired{"Обязателен", "Required"};

std::string bold(std::string_view text) {
    return "\\fB" + troff(text) + "\\fR";
}

std::string italic(std::string_view text) {
    return "\\fI" + troff(text) + "\\fR";
}

std::string heading(const Text& title, Language language) {
    return ".SH " + title.in(language) + "\n";
}

/// The text as a sentence; empty stays empty.
std::string sentence(std::string text) {
    if (!text.empty() && text.find_last_of(".!?") != text.size() - 1) text += '.';
    return text;
}

}  // namespace

std::string troff(std::string_view text) {
    std::string line;
    if (!text.empty() && (text.front() == '.' || text.front() == '\'')) line = "\\&";
    for (const char letter : text) {
        switch (letter) {
            case '\\':
                line += "\\e";
                break;
            case '-':
                line += "\\-";
                break;
            case '\n':
                line += ' ';
                break;
            default:
                line += letter;
        }
    }
    return line;
}

namespace {

// ---- Options -----------------------------------------------------------------------------------

/// "-h, --help" or "--url ADDRESS", or the name of an argument without dashes.
std::string tagOf(const CLI::Option& option) {
    if (option.get_positional()) return italic(option.get_name(true));
    std::string tag;
    const auto add = [&tag](const std::string& name) {
        tag += (tag.empty() ? "" : ", ") + bold(name);
    };
    for (const std::string& name : option.get_snames())
        add("-" + name);
    for (const std::string& name : option.get_lnames())
        add("--" + name);
    const std::string value = option.get_type_name();
    return value.empty() ? tag : tag + " " + italic(value);
}

std::string namesOf(const std::set<CLI::Option*>& options) {
    std::vector<std::string> names;
    std::ranges::transform(options, std::back_inserter(names),
                           [](const auto* option) { return option->get_name(); });
    std::ranges::sort(names);  // the set is in the order of addresses
    return CLI::detail::join(names, ", ");
}

std::string textOf(const CLI::Option& option, Language language) {
    std::vector<std::string> sentences{sentence(option.get_description())};
    const auto add = [&](const Text& label, const std::string& text) {
        if (!text.empty()) sentences.push_back(sentence(label.in(language) + text));
    };
    add(kDefault, option.get_default_str());
    add(kNeeds, namesOf(option.get_needs()));
    add(kExcludes, namesOf(option.get_excludes()));
    if (option.get_required()) sentences.push_back(sentence(kRequired.in(language)));
    return CLI::detail::join(sentences, " ");
}

std::string entryOf(const CLI::Option& option, Language language) {
    return ".TP\n" + tagOf(option) + "\n" + troff(textOf(option, language)) + "\n";
}

/// Whether the help shows it as it shows the other.
bool isSame(const CLI::Option* option, const CLI::Option* other) {
    return option->get_name(false, true) == other->get_name(false, true) &&
           option->get_description() == other->get_description();
}

bool holds(const Options& options, const CLI::Option* wanted) {
    return std::ranges::any_of(options, [&](const auto* option) { return isSame(option, wanted); });
}

Options shownOptions(const CLI::App& app) {
    return app.get_options([](const CLI::Option* option) { return !option->get_group().empty(); });
}

/// In groups, as in the help; the first one, which holds --help, has no title.
std::string optionEntries(const Options& options, Language language) {
    std::string text;
    std::vector<std::string> groups;
    for (const CLI::Option* option : options) {
        if (std::ranges::find(groups, option->get_group()) == groups.end())
            groups.push_back(option->get_group());
    }
    for (const std::string& group : groups) {
        if (group != groups.front()) text += ".SS " + troff(group) + "\n";
        for (const CLI::Option* option : options) {
            if (option->get_group() == group) text += entryOf(*option, language);
        }
    }
    return text;
}

// ---- Commands ----------------------------------------------------------------------------------

Commands commandsOf(const CLI::App& app) {
    return app.get_subcommands(
        [](const CLI::App* command) { return !command->get_name().empty(); });
}

/// The program's options and those that every command has.
Options commonOptions(const CLI::App& app, const Commands& commands) {
    Options common = shownOptions(app);
    if (commands.empty()) return common;
    for (const CLI::Option* option : shownOptions(*commands.front())) {
        const bool everywhere = std::ranges::all_of(
            commands, [&](const auto* command) { return holds(shownOptions(*command), option); });
        if (everywhere && !holds(common, option)) common.push_back(option);
    }
    return common;
}

std::string commandSection(const Commands& commands, const Options& common, Language language) {
    if (commands.empty()) return {};
    std::string text = heading(kCommands, language);
    for (const CLI::App* command : commands) {
        Options own = shownOptions(*command);
        std::erase_if(own, [&](const auto* option) { return holds(common, option); });
        text += ".SS " + troff(command->get_name()) + "\n" +
                troff(sentence(command->get_description())) + "\n" + optionEntries(own, language);
    }
    return text;
}

// ---- The page ----------------------------------------------------------------------------------

/// One line of the synopsis. @param name  with the command's
std::string callOf(const CLI::App& app, const std::string& name, Language language) {
    std::string line = ".B " + troff(name) + "\n[" + italic(kOptionWord.in(language)) + " ...]";
    for (const CLI::Option* option : shownOptions(app)) {
        if (!option->get_positional()) continue;
        const std::string argument = italic(option->get_name(true));
        line += option->get_required() ? " " + argument : " [" + argument + "]";
        if (option->get_expected_max() > 1) line += " ...";
    }
    return line + "\n";
}

std::string synopsis(const CLI::App& app, Language language) {
    std::string text = heading(kSynopsis, language);
    const Commands commands = commandsOf(app);
    if (commands.empty()) return text + callOf(app, app.get_name(), language);
    for (const CLI::App* command : commands) {
        if (command != commands.front()) text += ".br\n";
        text += callOf(*command, app.get_name() + " " + command->get_name(), language);
    }
    return text;
}

/// The description's first sentence as apropos shows it: without its capital, but for an abbreviation,
/// and without its full stop.
std::string summary(const std::string& description) {
    std::string first = description.substr(0, description.find('\n'));
    first.resize(std::min(first.size(), first.find(". ")));
    if (first.ends_with('.')) first.pop_back();
    // A letter of the texts' two languages has one byte or two.
    const std::size_t letter = first.empty() || static_cast<unsigned char>(first[0]) < 0x80 ? 1 : 2;
    const std::string start = first.substr(0, 2 * letter);
    const std::string small = lowered(start);
    const bool isWord = start.size() > letter && start.substr(letter) == small.substr(letter);
    return isWord ? small + first.substr(start.size()) : first;
}

/// The footer's paragraphs but that of the exit statuses, and that one.
std::pair<std::string, std::string> splitFooter(const std::string& footer, Language language) {
    std::string rest;
    std::string statuses;
    const std::string label = kExitStatusLabel.in(language);
    for (std::size_t begin = 0; begin < footer.size();) {
        const std::size_t end = std::min(footer.find("\n\n", begin), footer.size());
        std::string paragraph = footer.substr(begin, end - begin);
        CLI::detail::trim(paragraph);
        if (paragraph.starts_with(label)) {
            statuses = sentence(paragraph.substr(label.size()));
        } else if (!paragraph.empty()) {
            rest += ".PP\n" + troff(paragraph) + "\n";
        }
        begin = end + 2;
    }
    return {rest, statuses};
}

}  // namespace

std::string manualPage(const CLI::App& app, Language language, const PageFrame& frame) {
    const auto [remarks, statuses] = splitFooter(app.get_footer(), language);
    const std::size_t intro = std::min(frame.sections.find(".SH"), frame.sections.size());
    const Commands commands = commandsOf(app);
    const Options common = commonOptions(app, commands);
    std::string title = app.get_name();
    for (char& letter : title)
        letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    std::string page = ".\\\" Made by the build from the program's --help: do not edit.\n";
    page += ".TH " + troff(title) + " 1 \"" + frame.date + "\" \"" + frame.source + "\" \"" +
            kBook.in(language) + "\"\n";
    page += heading(kName, language) + troff(app.get_name()) + " \\- " +
            troff(summary(app.get_description())) + "\n";
    page += synopsis(app, language);
    page += heading(kDescription, language) + troff(sentence(app.get_description())) + "\n" +
            remarks + frame.sections.substr(0, intro);
    page += commandSection(commands, common, language);
    page += heading(kOptions, language) + optionEntries(common, language);
    if (!statuses.empty()) page += heading(kExitStatus, language) + troff(statuses) + "\n";
    return page + frame.sections.substr(intro);
}

}  // namespace tools
