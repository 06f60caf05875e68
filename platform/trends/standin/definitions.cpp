#include "platform/trends/standin/definitions.h"

#include <charconv>
#include <fstream>
#include <sstream>

// Compiled here and not linked, as in the server; no wide characters.
#define SI_IMPLEMENTATION
#define SI_NO_CONVERSION
#include <SimpleIni.h>

#include "jxotr/opchda.h"

namespace trends {

namespace {

using Ini = CSimpleIniTempl<char, SI_GenericNoCase<char>, SI_ConvertA<char>>;

constexpr std::string_view kKinds[] = {"VA", "AV", "RV", "VD", "DV"};  // in the order of the codes

constexpr struct {
    std::string_view name;
    std::int16_t code;
} kValueTypes[] = {{"float", jxo::kVtFloat},
                   {"double", jxo::kVtDouble},
                   {"integer", jxo::kVtInteger},
                   {"boolean", jxo::kVtBoolean}};

std::string_view trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(" \t\r");
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

std::string_view withoutComment(std::string_view text) {
    return trimmed(text.substr(0, text.find(';')));
}

/// Takes the text up to the next comma off `rest`.
std::string_view takeField(std::string_view& rest) {
    const auto comma = rest.find(',');
    const std::string_view field = trimmed(rest.substr(0, comma));
    rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
    return field;
}

/// "kind, number, type" and optionally a name after another comma; false for any other text.
bool readPen(std::string_view text, PenDefinition& pen) {
    const std::string_view kind = takeField(text);
    const std::string_view number = takeField(text);
    const std::string_view type = takeField(text);
    pen.nameCp866 = trimmed(text);
    pen.variableKind = -1;
    for (std::size_t i = 0; i < std::size(kKinds); ++i) {
        if (kind == kKinds[i]) pen.variableKind = static_cast<std::int32_t>(i);
    }
    for (const auto& row : kValueTypes) {
        if (type == row.name) pen.valueType = row.code;
    }
    const char* end = number.data() + number.size();
    const auto [rest, error] = std::from_chars(number.data(), end, pen.variableNum);
    const bool isNumber = error == std::errc{} && rest == end && pen.variableNum > 0;
    return pen.variableKind >= 0 && pen.valueType != 0 && isNumber;
}

std::string numbered(const char* word, std::size_t number) {
    return word + std::to_string(number);
}

/// Names the place of a mistake; the texts are ASCII, so they are both CP866 and UTF-8.
std::string problemAt(const std::string& section, const std::string& key) {
    return "[" + section + "] " + key;
}

/// Keys are "Name" and "Pen_1", "Pen_2", ... without gaps.
PlotterDefinition readPlotter(const Ini& ini, const std::string& section, std::string& problem) {
    PlotterDefinition plotter;
    plotter.nameCp866 = withoutComment(ini.GetValue(section.c_str(), "Name", ""));
    std::size_t known = ini.GetValue(section.c_str(), "Name") != nullptr ? 1 : 0;
    for (std::size_t num = 1;; ++num, ++known) {
        const std::string key = numbered("Pen_", num);
        const char* value = ini.GetValue(section.c_str(), key.c_str());
        if (value == nullptr) break;
        PenDefinition pen;
        if (!readPen(withoutComment(value), pen)) {
            problem = problemAt(section, key);
            return plotter;
        }
        plotter.pens.push_back(std::move(pen));
    }
    const int keys = ini.GetSectionSize(section.c_str());
    if (keys != static_cast<int>(known)) {
        problem = problemAt(section, numbered("Pen_", plotter.pens.size() + 1));
    }
    return plotter;
}

}  // namespace

const PenDefinition* Definitions::find(std::uint32_t plotterNum, std::uint32_t penNum) const {
    if (plotterNum < 1 || plotterNum > plotters.size()) return nullptr;
    const auto& pens = plotters[plotterNum - 1].pens;
    return penNum < 1 || penNum > pens.size() ? nullptr : &pens[penNum - 1];
}

Definitions parseDefinitions(std::string_view text, std::string& problem) {
    problem.clear();
    Ini ini;
    if (ini.LoadData(text.data(), text.size()) < 0) {
        problem = "trends.ini";
        return {};
    }
    Definitions definitions;
    Ini::TNamesDepend sections;
    ini.GetAllSections(sections);
    for (std::size_t num = 1;; ++num) {
        const std::string section = numbered("Plotter_", num);
        if (ini.GetSection(section.c_str()) == nullptr) break;
        definitions.plotters.push_back(readPlotter(ini, section, problem));
        if (!problem.empty()) return {};
    }
    if (sections.size() != definitions.plotters.size()) {
        problem = "[" + numbered("Plotter_", definitions.plotters.size() + 1) + "]";
        return {};
    }
    return definitions;
}

Definitions loadDefinitions(const std::string& file, std::string& problem) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    if (!stream || !(text << stream.rdbuf())) {
        problem = file;
        return {};
    }
    return parseDefinitions(text.str(), problem);
}

}  // namespace trends
