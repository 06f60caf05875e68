#include "tools/opcuacheck/command_line.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <filesystem>
#include <iostream>
#include <string>

#include "server/bounds/ConfigBounds.h"
#include "server/config/NumberLists.h"
#include "server/diagnostics/MsgHandler.h"
#include "tools/opcuacheck/exit_status.h"
#include "tools/opcuacheck/finding.h"
#include "tools/opcuacheck/print.h"

namespace opcuacheck {

namespace {

struct Options {
    std::string file;
    std::string system;
    std::string settings;
    std::string counts;
    std::string rvs;
    std::string rvl;
    std::string language = "ru";
    bool tree = false;
    bool json = false;
    bool codes = false;

    [[nodiscard]] bool russian() const { return language == "ru"; }
    [[nodiscard]] Language lang() const { return russian() ? Language::ru : Language::en; }
};

struct HelpTexts {
    const char* title;
    const char* argument;
    const char* options;
    const char* usage;
    const char* help;
    const char* file;
    const char* system;
    const char* settings;
    const char* counts;
    const char* rvs;
    const char* rvl;
    const char* language;
    const char* tree;
    const char* json;
    const char* codes;
    const char* footer;
};

constexpr HelpTexts kRussian{
    "Проверяет конфигурацию сервера OPC UA (opcuasrv.ini) до её загрузки.\n"
    "Показывает ошибки — теми же словами, что и сервер, — и ловушки, о которых сервер молчит.",
    "АРГУМЕНТ",
    "КЛЮЧИ",
    "Вызов",
    "Показать эту справку",
    "Проверяемый файл, CP866",
    "Папка файлов offatrs.dat и atributs.dat: какие атрибуты есть в базе и каких они типов",
    "Папка файла veskkntr.ini: номер и цикл контроллера; без ключа — папка проверяемого файла",
    "Сколько в базе переменных, например va=120,av=20,rv=60,vd=200,dv=40",
    "Какие ручные вводы — тексты (RVS), например 41-44; остальные, кроме --rvl, — числа (RVV)",
    "Какие ручные вводы — переключатели (RVL), например 45-60",
    "Язык: ru или en",
    "Вместо замечаний показать узлы, которые получатся",
    "Вывести массив JSON: замечания, с --tree — узлы",
    "Показать коды замечаний и выйти",
    "\nКод завершения: 0 — замечаний нет, 1 — только предупреждения, 2 — есть ошибки,\n"
    "3 — файл не читается, 4 — неверные ключи. Описание: docs/configuration.ru.md."};

constexpr HelpTexts kEnglish{
    "Checks the configuration of the OPC UA server (opcuasrv.ini) before it is loaded.\n"
    "Shows errors, in the server's own words, and traps that the server does not report.",
    "ARGUMENT",
    "OPTIONS",
    "Usage",
    "Show this help",
    "File to check, CP866",
    "Folder of offatrs.dat and atributs.dat: which attributes exist, and their types",
    "Folder of veskkntr.ini: number and cycle of the controller; default: the file's folder",
    "How many variables the database has, for example va=120,av=20,rv=60,vd=200,dv=40",
    "Which manual inputs are texts (RVS), for example 41-44; all others except --rvl are numbers "
    "(RVV)",
    "Which manual inputs are switches (RVL), for example 45-60",
    "Language: ru or en",
    "Show the resulting nodes instead of the findings",
    "Print a JSON array: the findings, with --tree the nodes",
    "List the codes of findings and exit",
    "\nExit status: 0 nothing found, 1 warnings only, 2 errors, 3 a file cannot be read,\n"
    "4 bad usage. See docs/configuration.md."};

// ---- Command line ------------------------------------------------------------------------------

/// The language is needed before anything is parsed, for help and error messages.
std::string askedLanguage(int argc, const char* const* argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--lang=en") return "en";
        if (argument == "--lang" && i + 1 < argc && std::string(argv[i + 1]) == "en") return "en";
    }
    return "ru";
}

void declareOptions(CLI::App& app, Options& options, const HelpTexts& texts) {
    app.option_defaults()->group(texts.options);
    app.get_formatter()->label("Usage", texts.usage);
    app.get_formatter()->label("OPTIONS", texts.options);
    app.get_formatter()->label("Positionals", texts.argument);
    app.get_formatter()->column_width(24);
    app.set_help_flag("-h,--help", texts.help);
    app.add_option("FILE", options.file, texts.file)->type_name("");
    app.add_option("--system", options.system, texts.system)->type_name("DIR");
    app.add_option("--settings", options.settings, texts.settings)->type_name("DIR");
    app.add_option("--counts", options.counts, texts.counts)->type_name("va=N,...");
    app.add_option("--rvs", options.rvs, texts.rvs)->type_name("N-M");
    app.add_option("--rvl", options.rvl, texts.rvl)->type_name("N-M");
    app.add_option("--lang", options.language, texts.language)->type_name("ru|en");
    app.add_flag("--tree", options.tree, texts.tree)->disable_flag_override();
    app.add_flag("--json", options.json, texts.json)->disable_flag_override();
    app.add_flag("--codes", options.codes, texts.codes)->disable_flag_override();
    app.footer(texts.footer);
}

int refuse(const std::string& reason, bool russian) {
    std::cerr << "opcuacheck: " << reason << "\n"
              << (russian ? "Справка: " : "Help: ") << "opcuacheck --help\n";
    return kBadUsage;
}

std::string reasonOf(const CLI::ParseError& error, bool russian) {
    if (!russian) return error.what();
    const std::string text = error.what();
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        return "неизвестный аргумент " + text.substr(text.rfind(": ") + 2);
    }
    return "у ключа нет значения или оно лишнее (" + text + ")";
}

/// Checks what CLI11 cannot check. @return what is wrong; empty if nothing is
std::string fillDatabase(const Options& options, Database& database) {
    if (options.language != "ru" && options.language != "en") {
        return "\"" + options.language + "\" — ни ru, ни en; neither ru nor en";
    }
    if (!options.counts.empty()) {
        auto problem = readCounts(options.counts, database, options.russian());
        if (!problem.empty()) return problem;
    }
    if (options.rvs.empty() && options.rvl.empty()) return {};
    auto& inputs = database.manualInputs.emplace();
    const std::array<const std::string*, 2> lists{&options.rvs, &options.rvl};
    for (std::size_t i = 0; i < lists.size(); ++i) {
        const NumberList list = readNumberList(*lists[i]);
        if (list.all || list.badItem || expandedCount(list.ranges) > kLastTagNumber) {
            return "\"" + *lists[i] + "\"" +
                   (options.russian() ? " — не список номеров" : " is no list of numbers");
        }
        inputs[i + 1] = getNumbersTagsOperative(*lists[i]);
    }
    return {};
}

// ---- Checking ----------------------------------------------------------------------------------

/// The server would open a folder and find nothing in it; here it can only be a mistake.
int refuseFolder(const Options& options) {
    std::cerr << "opcuacheck: " << options.file
              << (options.russian() ? " — папка, а нужен файл\n" : " is a folder, not a file\n");
    if (options.json) std::cout << "[]\n";
    return kNotReadable;
}

int notReadable(const Options& options, const std::string& settingsPath) {
    ServerView view;
    useControllerSettings(settingsPath);
    redirectConfigErrors([&](const ConfigErrorReport& report) {
        view.reports.push_back({report, true});
    });
    reportConfigError(ConfigError::fileNotOpened);
    redirectConfigErrors({});
    const ConfigFile nothing("");
    const Database database;
    const Checked checked{nothing, view, database};
    Findings findings{{RuleId::fileNotOpened, 0, 0, {}, {}, {options.file}, {}}};
    findings.front().logLine = view.reports.front().report.logLine;
    if (options.json) {
        printFindingsJson(std::cout, findings, nothing, options.lang());
    } else {
        printFindings(std::cerr, options.file, findings, checked, {options.lang(), false});
    }
    return kNotReadable;
}

int statusOf(const Findings& findings) {
    if (findings.empty()) return kClean;
    const bool errors = std::ranges::any_of(findings, [](const Finding& finding) {
        return ruleOf(finding.rule).severity == Severity::error;
    });
    return errors ? kErrors : kWarnings;
}

int check(const Options& options, Database& database) {
    const std::filesystem::path folder = options.settings.empty()
                                             ? std::filesystem::path(options.file).parent_path()
                                             : std::filesystem::path(options.settings);
    const std::string settingsPath = (folder / "veskkntr.ini").string();
    if (std::error_code error; std::filesystem::is_directory(options.file, error)) {
        return refuseFolder(options);
    }
    const auto file = openConfigFile(options.file);
    if (!file || !file->isReadable()) return notReadable(options, settingsPath);
    if (!options.system.empty()) {
        const std::string problem = readAttributeFiles(options.system, database, options.russian());
        if (!problem.empty()) {
            std::cerr << "opcuacheck: " << problem << "\n";
            return kNotReadable;
        }
    }
    const ServerView view = viewAsServer(options.file, settingsPath, database);
    const Checked checked{*file, view, database};
    const Findings findings = allFindings(checked);
    const PrintStyle style{options.lang(), isatty(STDOUT_FILENO) == 1};
    if (options.tree) {
        const auto tree = treeOf(view, database);
        if (options.json) {
            printTreeJson(std::cout, tree);
        } else {
            printTree(std::cout, tree, checked, style);
        }
    } else if (options.json) {
        printFindingsJson(std::cout, findings, *file, style.language);
    } else {
        printFindings(std::cout, options.file, findings, checked, style);
    }
    return statusOf(findings);
}

void printCodes(Language language) {
    std::string_view last;
    for (const Rule& rule : allRules()) {
        if (rule.code != last) std::cout << rule.code << '\n';
        last = rule.code;
        std::cout << "    " << filled(rule.message.in(language), {}) << '\n';
    }
}

}  // namespace

int runProgram(int argc, const char* const* argv) {
    Options options;
    const bool russian = askedLanguage(argc, argv) == "ru";
    const HelpTexts& texts = russian ? kRussian : kEnglish;
    CLI::App app{texts.title, "opcuacheck"};
    declareOptions(app, options, texts);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return kClean;
    } catch (const CLI::ParseError& error) {
        return refuse(reasonOf(error, russian), russian);
    }
    if (options.codes) {
        printCodes(options.lang());
        return kClean;
    }
    Database database;
    const std::string problem = fillDatabase(options, database);
    if (!problem.empty()) return refuse(problem, russian);
    if (options.file.empty()) {
        return refuse(russian ? "не указан проверяемый файл" : "no file is named", russian);
    }
    return check(options, database);
}

}  // namespace opcuacheck
