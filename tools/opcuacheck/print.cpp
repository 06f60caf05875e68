#include "tools/opcuacheck/print.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

namespace tools::opcuacheck {

namespace {

// ---- JSON --------------------------------------------------------------------------------------

using Json = nlohmann::ordered_json;

/// An array, an object a line.
void printArray(std::ostream& out, const std::vector<Json>& objects) {
    out << '[';
    const char* separator = "\n  ";
    for (const Json& object : objects) {
        out << std::exchange(separator, ",\n  ")
            << object.dump(-1, ' ', false, Json::error_handler_t::replace);
    }
    out << (objects.empty() ? "]\n" : "\n]\n");
}

Json orNull(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

// ---- Texts -------------------------------------------------------------------------------------

std::string messageOf(const Finding& finding, Language language) {
    return filled(ruleOf(finding.rule).message.in(language), finding.arguments);
}

std::string adviceOf(const Finding& finding, Language language) {
    return filled(ruleOf(finding.rule).advice.in(language), finding.arguments);
}

const char* severityName(Severity severity) {
    return severity == Severity::error ? "error" : "warning";
}

std::ptrdiff_t countOf(const Findings& findings, Severity severity) {
    return std::ranges::count_if(findings, [=](const Finding& finding) {
        return ruleOf(finding.rule).severity == severity;
    });
}

class TextPrinter {
  public:
    TextPrinter(std::ostream& out, const PrintStyle& style) : out_(out), style_(style) {}

    const char* in(const char* ru, const char* en) const {
        return style_.language == Language::ru ? ru : en;
    }

    void print(const Finding& finding, const ConfigFile& file) {
        const Rule& rule = ruleOf(finding.rule);
        const bool error = rule.severity == Severity::error;
        out_ << colour(error ? "\x1b[1;31m" : "\x1b[1;33m");
        if (finding.line > 0) {
            out_ << in("Строка ", "Line ") << finding.line << ", ";
        } else {
            out_ << in("Весь файл, ", "Whole file, ");
        }
        out_ << (error ? in("ошибка", "error") : in("предупреждение", "warning"))
             << colour("\x1b[0m") << " [" << rule.code << "]\n";
        const std::int32_t place = finding.trueLine > 0 ? finding.trueLine : finding.line;
        if (const std::string line = shownLine(file, place); !line.empty()) {
            out_ << "    " << colour("\x1b[36m") << line << colour("\x1b[0m") << '\n';
        }
        out_ << "  " << in("Что не так: ", "What is wrong: ") << messageOf(finding, style_.language)
             << ".\n";
        if (finding.trueLine > 0) {
            out_ << "  " << in("Причина в строке ", "The cause is in line ") << finding.trueLine
                 << in("; сервер ищет её по тексту и называет строку ",
                       "; the server searches for it by its text and names line ")
                 << finding.line << ".\n";
        }
        out_ << "  " << in("Что сделать: ", "What to do: ") << adviceOf(finding, style_.language)
             << ".\n";
        if (finding.logLine) {
            out_ << "  " << in("Журнал сервера: ", "The server's log: ") << *finding.logLine
                 << '\n';
        } else if (error) {
            out_ << "  "
                 << in("Сервер об этом не сообщит: он остановится раньше.\n",
                       "The server will not report this: it stops before that.\n");
        }
        out_ << '\n';
    }

    void printSummary(const std::string& file, const Findings& findings, const Checked& checked) {
        const auto errors = countOf(findings, Severity::error);
        const auto warnings = countOf(findings, Severity::warning);
        out_ << file << ": ";
        if (findings.empty()) {
            out_ << in("замечаний нет.\n", "no findings.\n");
        } else {
            out_ << in("ошибок ", "errors ") << errors << in(", предупреждений ", ", warnings ")
                 << warnings << ".\n";
        }
        const bool starts = std::ranges::none_of(
            checked.view.reports,
            [](const GivenReport& given) { return given.report.error == ConfigError::serverPort; });
        if (!starts) {
            out_ << in("С этой конфигурацией сервер НЕ ЗАПУСТИТСЯ (нет допустимого порта).\n",
                       "With this configuration the server will NOT START (no valid port).\n");
        }
        const bool unread = !findings.empty() && findings.front().rule == RuleId::fileNotOpened;
        if (!unread) printUnknown(checked);
    }

  private:
    const char* colour(const char* sequence) const { return style_.colours ? sequence : ""; }

    /// What could not be checked, and which option helps.
    void printUnknown(const Checked& checked) {
        const Database& database = checked.database;
        const bool counts = std::ranges::any_of(
            database.counts, [](const std::optional<int>& count) { return count.has_value(); });
        if (!counts) {
            out_ << in("Не проверено, есть ли теги в базе: укажите их числа, например ",
                       "Not checked whether the tags exist: specify their counts, for example ")
                 << "--counts va=120,vd=200,av=20,dv=40,rv=60.\n";
        }
        if (!database.attributes) {
            out_ << in(
                "Не проверено, есть ли атрибуты в базе: укажите --system с папкой файлов "
                "offatrs.dat и atributs.dat.\n",
                "Not checked whether the attributes exist: specify the folder of offatrs.dat "
                "and atributs.dat with --system.\n");
        }
    }

    std::ostream& out_;
    PrintStyle style_;
};

}  // namespace

void printFindings(std::ostream& out, const std::string& file, const Findings& findings,
                   const Checked& checked, const PrintStyle& style) {
    TextPrinter printer(out, style);
    for (const Finding& finding : findings) {
        printer.print(finding, checked.file);
    }
    printer.printSummary(file, findings, checked);
}

void printFindingsJson(std::ostream& out, const Findings& findings, const ConfigFile& file,
                       Language language) {
    std::vector<Json> objects;
    for (const Finding& finding : findings) {
        const Rule& rule = ruleOf(finding.rule);
        const std::int32_t place = finding.trueLine > 0 ? finding.trueLine : finding.line;
        objects.push_back({{"line", finding.line},
                           {"causeLine", place},
                           {"severity", severityName(rule.severity)},
                           {"code", rule.code},
                           {"section", finding.section},
                           {"key", finding.key},
                           {"text", shownLine(file, place)},
                           {"message", messageOf(finding, language)},
                           {"advice", adviceOf(finding, language)},
                           {"log", finding.logLine ? Json(*finding.logLine) : Json()}});
    }
    printArray(out, objects);
}

// ---- Tree --------------------------------------------------------------------------------------

void printAssumedCounts(std::ostream& out, const Checked& checked, Language language) {
    const bool russian = language == Language::ru;
    for (const VariableKind& kind : kKinds) {
        const auto index = static_cast<std::size_t>(kind.type);
        if (checked.database.counts[index]) continue;
        out << (russian ? "Число тегов " : "The number of tags ") << kind.word
            << (russian ? " неизвестно (--counts), принято " : " is unknown (--counts), assumed: ")
            << checked.view.assumedCounts[index] << ".\n";
    }
}

void printTree(std::ostream& out, const std::vector<TreeNode>& tree, const Checked& checked,
               const PrintStyle& style) {
    const bool russian = style.language == Language::ru;
    out << (russian
                ? "Узлы пространства имён urn:vesk; «?» — зависит от базы или архива трендов.\n"
                : "Nodes of the namespace urn:vesk; \"?\" depends on the database or archive.\n");
    printAssumedCounts(out, checked, style.language);
    out << "\nObjects  i=85\n";
    for (const TreeNode& node : tree) {
        out << std::string(2 * (static_cast<std::size_t>(node.depth) + 1), ' ') << node.name << "  "
            << node.id;
        if (node.isVariable()) {
            out << "  " << (node.dataType.empty() ? "?" : node.dataType) << "  " << node.access;
        }
        out << (node.uncertain ? "  ?\n" : "\n");
    }
}

void printTreeJson(std::ostream& out, const std::vector<TreeNode>& tree) {
    std::vector<Json> objects;
    objects.reserve(tree.size());
    for (const TreeNode& node : tree) {
        objects.push_back({{"id", node.id},
                           {"parent", node.parentId},
                           {"name", node.name},
                           {"class", node.isVariable() ? "variable" : "object"},
                           {"dataType", orNull(node.dataType)},
                           {"access", node.isVariable() ? Json(node.access) : Json()},
                           {"uncertain", node.uncertain}});
    }
    printArray(out, objects);
}

}  // namespace tools::opcuacheck
