#include "tools/command_line/command_line.h"

#include <algorithm>
#include <iostream>
#include <memory>

#include "tools/text/text.h"

namespace tools {

Language askedLanguage(int argc, const char* const* argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        const bool next = argument == "--lang" && i + 1 < argc;
        if (argument == "--lang=en" || (next && argv[i + 1] == std::string_view("en"))) {
            return Language::en;
        }
    }
    return Language::ru;
}

namespace {

/// CLI11 pads by bytes, but Russian names must be padded by columns.
class Help final : public CLI::Formatter {
  public:
    std::string make_option(const CLI::Option* option, bool positional) const override {
        const std::string name =
            "  " + make_option_name(option, positional) + make_option_opts(option);
        return fitted(name, std::max(kColumn, displayWidth(name) + 2)) + make_option_desc(option) +
               "\n";
    }

  private:
    static constexpr int kColumn = 24;
};

struct Label {
    const char* original;
    Text text;
};

constexpr Label kLabels[] = {
    {"Usage", {"Вызов", "Usage"}},           {"OPTIONS", {"КЛЮЧИ", "OPTIONS"}},
    {"SUBCOMMAND", {"КОМАНДА", "COMMAND"}},  {"Positionals", {"Аргументы", "Arguments"}},
    {"Needs", {"только с", "only with"}},    {"Excludes", {"не с", "not with"}},
    {"REQUIRED", {"(нужен)", "(required)"}},
};
constexpr Text kOptions{"Ключи", "Options"};
constexpr Text kHelp{"Показать эту справку", "Show this help"};

}  // namespace

CommandLine::CommandLine(std::string_view name, const Text& description, const Text& footer,
                         Language language)
    : app_(description.in(language), std::string(name)), language_(language) {
    const auto help = std::make_shared<Help>();
    for (const Label& label : kLabels)
        help->label(label.original, in(label.text));
    app_.formatter(help);
    app_.option_defaults()->group(in(kOptions));
    app_.set_help_flag("-h,--help", in(kHelp))->group(in(kOptions));
    app_.footer(in(footer));
    option("--lang", languageName_, {"Язык: ru или en", "Language: ru or en"}, {"ru|en", "ru|en"})
        .check(CLI::Validator{
            [this](std::string& word) -> std::string {
                if (word == "ru" || word == "en") return {};
                return "\"" + word + in({"\" — ни ru, ни en", "\" is neither ru nor en"});
            },
            {}});
}

CLI::App& CommandLine::command(std::string_view name, const Text& description) {
    CLI::App& command = *app_.add_subcommand(std::string(name), in(description));
    command.group(in({"Команды", "Commands"}));
    command.set_help_flag("-h,--help", in(kHelp))->group(in(kOptions));
    command.fallthrough();
    return command;
}

CLI::Option& CommandLine::option(std::string_view name, std::string& target, const Text& help,
                                 const Text& value) {
    return *app_.add_option(std::string(name), target, in(help))->type_name(in(value));
}

CLI::Option& CommandLine::flag(std::string_view name, bool& target, const Text& help) {
    return *app_.add_flag(std::string(name), target, in(help))->disable_flag_override();
}

namespace {

/// "--a excludes --b" with another word in the middle.
std::string withVerb(std::string text, std::string_view english, std::string_view russian) {
    const std::size_t place = text.find(english);
    return place == std::string::npos ? text : text.replace(place, english.size(), russian);
}

/// Russian texts for those of CLI11's errors that an operator may see. Validators have their own.
std::string russianReason(const CLI::ParseError& error) {
    std::string text = error.what();
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        return "неизвестный аргумент " + text.substr(text.rfind(": ") + 2);
    }
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        return text.substr(0, text.find_first_of(": ")) + ": не то число значений";
    }
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        return "не указано: " + text.substr(0, text.find(" is required"));
    }
    if (dynamic_cast<const CLI::ExcludesError*>(&error) != nullptr) {
        return withVerb(text, " excludes ", " исключает ключ ");
    }
    if (dynamic_cast<const CLI::RequiresError*>(&error) != nullptr) {
        return withVerb(text, " requires ", " — только вместе с ");
    }
    if (dynamic_cast<const CLI::ConversionError*>(&error) != nullptr) {
        return "значение не подходит (" + text + ")";
    }
    return text;
}

}  // namespace

std::optional<int> CommandLine::parse(int argc, const char* const* argv, int badUsage) {
    try {
        app_.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        std::cout << app_.help();
        return 0;
    } catch (const CLI::ParseError& error) {
        refuse(language_ == Language::ru ? russianReason(error) : error.what());
        return badUsage;
    }
    return std::nullopt;
}

void CommandLine::refuse(std::string_view reason) const {
    std::cerr << app_.get_name() << ": " << reason << "\n"
              << in({"Справка: ", "Help: "}) << app_.get_name() << " --help\n";
}

}  // namespace tools
