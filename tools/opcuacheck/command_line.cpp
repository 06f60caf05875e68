#include "tools/opcuacheck/command_line.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "server/bounds/ConfigBounds.h"
#include "server/config/NumberLists.h"
#include "server/diagnostics/MsgHandler.h"
#include "tools/command_line/command_line.h"
#include "tools/opcuacheck/exit_status.h"
#include "tools/opcuacheck/finding.h"
#include "tools/opcuacheck/print.h"
#include "tools/opcuacheck/tree_exports.h"

namespace tools::opcuacheck {

namespace {

struct Options {
    std::string file;
    std::string system;
    std::string settings;
    std::string counts;
    std::string rvs;
    std::string rvl;
    Language language = Language::ru;
    bool tree = false;
    bool json = false;
    bool csv = false;
    bool nodeset = false;
    bool telegraf = false;
    bool codes = false;

    [[nodiscard]] bool russian() const { return language == Language::ru; }
};

constexpr Text kDescription{
    "Проверяет конфигурацию сервера OPC UA (opcuasrv.ini) до её загрузки.\n"
    "Показывает ошибки — теми же словами, что и сервер, — и ловушки, о которых сервер молчит.",
    "Checks the configuration of the OPC UA server (opcuasrv.ini) before it is loaded.\n"
    "Shows errors, in the server's own words, and traps that the server does not report."};
constexpr Text kFooter{
    "Код завершения: 0 — замечаний нет, 1 — только предупреждения, 2 — есть ошибки,\n"
    "3 — файл не читается, 4 — неверные ключи. Описание: docs/configuration.ru.md.",
    "Exit status: 0 nothing found, 1 warnings only, 2 errors, 3 a file cannot be read,\n"
    "4 bad usage. See docs/configuration.md."};

// ---- Command line ------------------------------------------------------------------------------

struct OptionRow {
    const char* name;
    std::string Options::*target;
    Text help;
    Text value;
};

// clang-format off
constexpr OptionRow kOptions[] = {
    {"FILE", &Options::file, {"Проверяемый файл, CP866", "File to check, CP866"}, {"", ""}},
    {"--system", &Options::system,
     {"Папка файлов offatrs.dat и atributs.dat: какие атрибуты есть в базе и каких они типов",
      "Folder of offatrs.dat and atributs.dat: which attributes exist, and their types"}, {"ПАПКА", "FOLDER"}},
    {"--settings", &Options::settings,
     {"Папка файла veskkntr.ini: номер и цикл контроллера; без ключа — папка проверяемого файла",
      "Folder of veskkntr.ini: number and cycle of the controller; default: the file's folder"}, {"ПАПКА", "FOLDER"}},
    {"--counts", &Options::counts,
     {"Сколько в базе переменных, например va=120,av=20,rv=60,vd=200,dv=40",
      "How many variables the database has, for example va=120,av=20,rv=60,vd=200,dv=40"}, {"va=N,...", "va=N,..."}},
    {"--rvs", &Options::rvs,
     {"Какие ручные вводы — тексты (RVS), например 41-44; остальные, кроме --rvl, — числа (RVV)",
      "Which manual inputs are texts (RVS), for example 41-44; all others except --rvl are numbers (RVV)"}, {"N-M", "N-M"}},
    {"--rvl", &Options::rvl,
     {"Какие ручные вводы — переключатели (RVL), например 45-60",
      "Which manual inputs are switches (RVL), for example 45-60"}, {"N-M", "N-M"}},
};
// clang-format on

/// Other forms of the tree.
struct FormatRow {
    const char* name;
    bool Options::*target;
    Text help;
};

// clang-format off
constexpr FormatRow kTreeFormats[] = {
    {"--csv", &Options::csv,
     {"С --tree: переменные таблицей CSV, для импорта тегов в SCADA",
      "With --tree: the variables as CSV, for the tag import of a SCADA system"}},
    {"--nodeset2", &Options::nodeset,
     {"С --tree: узлы файлом UANodeSet (XML стандарта OPC UA)",
      "With --tree: the nodes as a UANodeSet (XML of the OPC UA standard)"}},
    {"--telegraf", &Options::telegraf,
     {"С --tree: настройка входа OPC UA сборщика Telegraf, см. docs/fleet.md",
      "With --tree: configuration of Telegraf's OPC UA input, see docs/fleet.md"}},
};
// clang-format on

void declareOptions(CommandLine& line, Options& options) {
    for (const OptionRow& row : kOptions) {
        line.option(row.name, options.*row.target, row.help, row.value);
    }
    CLI::Option& tree = line.flag("--tree", options.tree,
                                  {"Вместо замечаний показать узлы, которые получатся",
                                   "Show the resulting nodes instead of the findings"});
    std::vector<CLI::Option*> formats{
        &line.flag("--json", options.json,
                   {"Вывести массив JSON: замечания, с --tree — узлы",
                    "Print a JSON array: the findings, with --tree the nodes"})};
    for (const FormatRow& row : kTreeFormats) {
        CLI::Option& format = line.flag(row.name, options.*row.target, row.help);
        format.needs(&tree);
        for (CLI::Option* const other : formats) {
            format.excludes(other);
        }
        formats.push_back(&format);
    }
    line.flag("--codes", options.codes,
              {"Показать коды замечаний и выйти", "List the codes of findings and exit"});
}

/// Checks what CLI11 cannot check. @return what is wrong; empty if nothing is
std::string fillDatabase(const Options& options, Database& database) {
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
        printFindingsJson(std::cout, findings, nothing, options.language);
    } else {
        printFindings(std::cerr, options.file, findings, checked, {options.language, false});
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

/// Removes from the tree what a program that imports it would take for a node, and reports on
/// standard error what is missing.
void keepCertain(std::vector<TreeNode>& tree, const Options& options, const Checked& checked) {
    const auto report = [&](std::size_t nodes, const Text& why) {
        if (nodes > 0) {
            std::cerr << "opcuacheck: " << why.in(options.language) << nodes << "\n";
        }
    };
    report(removeNodes(tree, [](const TreeNode& node) { return node.uncertain; }),
           {"пропущено узлов, о которых знает только база или система трендов: ",
            "nodes left out because only the database or the trend system knows them: "});
    if (options.nodeset) {
        report(removeNodes(tree, [](const TreeNode& node) { return !fitsXml(node); }),
               {"пропущено узлов, имена которых нельзя записать в XML: ",
                "nodes left out because XML cannot hold their names: "});
    }
    printAssumedCounts(std::cerr, checked, options.language);
}

void showTree(const Options& options, const Checked& checked, const PrintStyle& style) {
    auto tree = treeOf(checked.view, checked.database);
    if (options.json) return printTreeJson(std::cout, tree);
    if (!options.csv && !options.nodeset && !options.telegraf) {
        return printTree(std::cout, tree, checked, style);
    }
    keepCertain(tree, options, checked);
    if (options.csv) writeCsv(std::cout, tree);
    if (options.nodeset) writeNodeSet(std::cout, tree);
    if (options.telegraf) {
        writeTelegraf(std::cout, tree, checked.view.port.value_or(kFirstPort), options.language);
    }
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
    const PrintStyle style{options.language, isatty(STDOUT_FILENO) == 1};
    if (options.tree) {
        showTree(options, checked, style);
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
    options.language = askedLanguage(argc, argv);
    CommandLine line("opcuacheck", kDescription, kFooter, options.language);
    declareOptions(line, options);
    if (const auto status = line.parse(argc, argv, kBadUsage)) return *status;
    if (options.codes) {
        printCodes(options.language);
        return kClean;
    }
    Database database;
    std::string problem = fillDatabase(options, database);
    if (problem.empty() && options.file.empty()) {
        problem = line.in({"не указан проверяемый файл", "no file is named"});
    }
    if (!problem.empty()) {
        line.refuse(problem);
        return kBadUsage;
    }
    return check(options, database);
}

void describe(Language language, const CommandLineReader& reader) {
    Options options;
    CommandLine line("opcuacheck", kDescription, kFooter, language);
    declareOptions(line, options);
    reader(line.app());
}

}  // namespace tools::opcuacheck
