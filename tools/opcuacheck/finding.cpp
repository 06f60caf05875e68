#include "tools/opcuacheck/finding.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace tools::opcuacheck {

Finding atEntry(RuleId rule, const Section& section, const KeyValue& entry,
                std::vector<std::string> arguments) {
    Finding finding;
    finding.rule = rule;
    finding.line = entry.line;
    finding.section = shown(section.name);
    finding.key = shown(entry.key);
    finding.arguments = std::move(arguments);
    return finding;
}

std::string numberText(double number) {
    std::string text = std::to_string(number);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.')) text.pop_back();
    return text;
}

const PublishedType* typeOfEntry(std::string_view key) {
    const auto* const found = std::ranges::find_if(
        kPublishedTypes, [&](const PublishedType& type) { return key.starts_with(type.marker); });
    return found == kPublishedTypes.end() ? nullptr : &*found;
}

std::string wordOf(const PublishedType& type) {
    // The folders are named "<number>_<word>".
    return std::string(type.folderName.substr(type.folderName.find('_') + 1));
}

std::string permittedNumbers(const PublishedType& type) {
    std::string text;
    int first = 0;
    int last = 0;
    const auto flush = [&] {
        if (last == 0) return;
        text.append(text.empty() ? "" : ", ").append(std::to_string(first));
        if (last > first) text.append("-").append(std::to_string(last));
    };
    for (const auto& [attribute, right] : type.access) {
        if (!mayBeExported(type, attribute)) continue;
        if (attribute != last + 1 || last == 0) {
            flush();
            first = attribute;
        }
        last = attribute;
    }
    flush();
    return text;
}

std::string exampleOf(const PublishedType& type) {
    int number = kindOf(type.kind).currentValueAttribute;
    if (type.kind == VariableType::AV) number = 21;                      // the set point
    if (type.kind == VariableType::RV && type.rvType == 1) number = 12;  // the text
    if (type.kind == VariableType::RV && type.rvType == 2) number = 14;  // the switch
    return "Значение, " + std::to_string(number) + ", OPC_READABLE";
}

Findings allFindings(const Checked& checked) {
    Findings findings;
    addServerErrors(checked, findings);
    addFileTraps(checked.file, findings);
    addGeneralTraps(checked, findings);
    addListTraps(checked, findings);
    addEntryTraps(checked, findings);
    addSectionTraps(checked, findings);
    const auto place = [](const Finding& finding) {
        const Rule& rule = ruleOf(finding.rule);
        return std::tuple(finding.line, rule.severity == Severity::error ? 0 : 1, rule.code);
    };
    std::ranges::stable_sort(findings, {}, place);
    return findings;
}

}  // namespace tools::opcuacheck
