#include <algorithm>
#include <map>
#include <unordered_map>
#include <utility>

#include "server/config/GeneralSettings.h"
#include "server/config/ListSections.h"
#include "server/config/SectionNames.h"
#include "server/plan/TagConfig.h"
#include "tools/opcuacheck/finding.h"
#include "tools/opcuacheck/nearest.h"

namespace tools::opcuacheck {

namespace {

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text.append(text.empty() ? "" : ", ").append(word);
    }
    return text;
}

// ---- Sections and keys -------------------------------------------------------------------------

/// The digits at the end of a name, or "1".
std::string numberAtEnd(std::string_view name) {
    const auto begin = name.find_last_not_of("0123456789") + 1;
    return begin == name.size() ? "1" : std::string(name.substr(begin));
}

std::string nearestSection(const std::string& name) {
    const std::string digits = numberAtEnd(name);
    return nearest(
        name, {std::string(kGeneralSection), std::string(kAccessSection), std::string(kFlatSection),
               std::string(kGroupSection) + digits, std::string(kPlotterSection) + digits});
}

/// Keys that the section of this name may have, attribute entries left out.
const std::vector<std::string>& keysOf(const std::string& section) {
    static const std::vector<std::string> kNone;
    const auto& declared = ListSections::getInstance().declared();
    const auto found = declared.find(std::string(schemaNameOf(section)));
    return found == declared.end() ? kNone : found->second;
}

/// A misspelled attribute entry with its marker corrected; empty if the key does not look like one.
std::string nearestEntry(const std::string& key) {
    const auto dot = key.find('.');
    if (dot == std::string::npos) return {};
    std::vector<std::string> markers;
    markers.reserve(kPublishedTypes.size());
    for (const PublishedType& type : kPublishedTypes) {
        markers.emplace_back(type.marker);
    }
    const std::string marker = nearest(key.substr(0, dot + 1), markers);
    return marker.empty() ? marker : marker + key.substr(dot + 1);
}

std::string otherSectionOf(const std::string& key) {
    for (const auto& [section, keys] : ListSections::getInstance().declared()) {
        if (std::ranges::find(keys, key) == keys.end()) continue;
        if (section == kPlotterSchema) return std::string(kPlotterSection) + "1";
        return section == kGroupSection ? section + "1" : section;
    }
    return {};
}

void explainSection(const ConfigErrorReport& report, Finding& finding) {
    const std::string& name = report.subject.section;
    finding.rule = RuleId::sectionUnknown;
    finding.arguments = {shown(name)};
    if (name.empty()) finding.rule = RuleId::sectionNone;
    if (const std::string near = nearestSection(name); !near.empty()) {
        finding.rule = RuleId::sectionNear;
        finding.arguments.push_back(shown(near));
    }
}

void explainKey(const ConfigErrorReport& report, Finding& finding) {
    const std::string& section = report.subject.section;
    const std::string& key = report.subject.key;
    std::vector<std::string> known = keysOf(section);
    std::string near = nearest(key, known);
    if (near.empty() && !holdsPlotter(section)) near = nearestEntry(key);
    const std::string elsewhere = otherSectionOf(key);
    finding.arguments = {shown(key), shown(section)};
    if (!elsewhere.empty()) {
        finding.rule = RuleId::keyElsewhere;
        finding.arguments.push_back(elsewhere);
    } else if (!near.empty()) {
        finding.rule = RuleId::keyNear;
        finding.arguments.push_back(shown(near));
    } else {
        finding.rule = RuleId::keyUnknown;
        if (holdsEntries(section)) known.emplace_back("Type1.<...>");
        finding.arguments.push_back(joined(known));
    }
}

// ---- Attribute entries -------------------------------------------------------------------------

/// A loaded attribute entry.
struct PlacedEntry {
    const Section* section;
    std::int32_t line;
    TagInfo info;
};
using EntriesByKey = std::unordered_map<std::string, std::vector<PlacedEntry>>;

EntriesByKey entriesByKey(const Checked& checked) {
    EntriesByKey entries;
    for (const Section& section : checked.view.sections) {
        if (!holdsEntries(section.name)) continue;
        for (const KeyValue& entry : section.params) {
            if (typeOfEntry(entry.key) == nullptr) continue;
            if (auto info = readTagEntry(entry)) {
                entries[entry.key].push_back({&section, entry.line, std::move(*info)});
            }
        }
    }
    return entries;
}

/// The entry that a report about an attribute refers to: one with its key that is wrong in this
/// way; if there are several, the one at the server's line.
const PlacedEntry* meantEntry(const EntriesByKey& entries, const ConfigErrorReport& report,
                              const PublishedType& type) {
    const auto sameKey = entries.find(report.subject.key);
    if (sameKey == entries.end()) return nullptr;
    const PlacedEntry* best = nullptr;
    for (const PlacedEntry& entry : sameKey->second) {
        if (mayBeExported(type, entry.info.attributeNumber) != report.subject.missing) continue;
        if (best == nullptr || entry.line == report.line) best = &entry;
    }
    return best;
}

void explainAttribute(const Checked& checked, const EntriesByKey& entries,
                      const ConfigErrorReport& report, Finding& finding) {
    const bool missing = report.subject.missing;
    finding.rule = missing ? RuleId::attributeMissing : RuleId::attributeRefused;
    const PublishedType* const type = typeOfEntry(report.subject.key);
    const PlacedEntry* const entry = type == nullptr ? nullptr : meantEntry(entries, report, *type);
    if (entry == nullptr) return;
    finding.section = shown(entry->section->name);
    finding.trueLine = entry->line;
    finding.arguments = {std::to_string(entry->info.attributeNumber), wordOf(*type),
                         shown(entry->info.name)};
    if (missing && checked.database.attributes) {
        const auto kind = static_cast<std::size_t>(type->kind);
        finding.arguments.push_back(std::to_string((*checked.database.attributes)[kind].size()));
    } else {
        finding.arguments.push_back(permittedNumbers(*type));
    }
}

// ---- General -----------------------------------------------------------------------------------

void explainPort(const Checked& checked, Finding& finding) {
    finding.section = kGeneralSection;
    finding.key = "ServerPort";
    finding.rule = RuleId::portMissing;
    for (const std::string_view value : valuesOf(checked.view.sections, "ServerPort")) {
        finding.rule = parseWholeInteger(value) ? RuleId::portOutside : RuleId::portNoNumber;
        finding.arguments = {shown(trim(value))};
    }
    const std::int32_t line = checked.file.lineOf(kGeneralSection, "ServerPort");
    if (finding.line == 0) finding.line = line;
    finding.trueLine = line;
}

/// @param index  of the report among those of its kind
void explainSampling(const Checked& checked, std::size_t index, Finding& finding) {
    finding.section = kGeneralSection;
    finding.key = "SamplingInterval";
    finding.trueLine = checked.file.lineOf(kGeneralSection, "SamplingInterval");
    const double cycleMs = checked.view.cycleTimeMs;
    for (const std::string_view value : valuesOf(checked.view.sections, "SamplingInterval")) {
        const auto askedMs = parseLeadingNumber(value);
        if (!askedMs) break;
        const SamplingDecision decision = decideSamplingInterval(*askedMs, cycleMs);
        if (!decision.report || index-- > 0) continue;
        finding.rule = !decision.intervalMs             ? RuleId::samplingBelowCycle
                       : *askedMs < kShortestIntervalMs ? RuleId::samplingShort
                                                        : RuleId::samplingLong;
        finding.arguments = {numberText(*askedMs), numberText(cycleMs),
                             numberText(std::max(kShortestIntervalMs, cycleMs))};
        return;
    }
}

/// The section without a name consists of the lines before the first heading.
std::int32_t lineOfSection(const ConfigFile& file, const std::string& section) {
    if (!section.empty()) return file.lineOfSection(section);
    return file.entries().empty() ? 0 : file.entries().front().line;
}

Finding explained(const Checked& checked, const EntriesByKey& entries,
                  const ConfigErrorReport& report, std::size_t index) {
    Finding finding;
    finding.line = report.line.value_or(0);
    finding.section = shown(report.subject.section);
    finding.key = shown(report.subject.key);
    switch (report.error) {
        case ConfigError::fileNotOpened:
            finding.rule = RuleId::fileNotOpened;
            break;
        case ConfigError::samplingInterval:
            explainSampling(checked, index, finding);
            break;
        case ConfigError::serverPort:
            explainPort(checked, finding);
            break;
        case ConfigError::attribute:
            explainAttribute(checked, entries, report, finding);
            break;
        case ConfigError::unknownSection:
            explainSection(report, finding);
            finding.trueLine = lineOfSection(checked.file, report.subject.section);
            break;
        case ConfigError::unknownKey: {
            explainKey(report, finding);
            const auto lines = checked.file.find(report.subject.section, report.subject.key);
            const bool named = std::ranges::any_of(
                lines, [&](const auto* entry) { return entry->line == finding.line; });
            if (!named && !lines.empty()) finding.trueLine = lines.front()->line;
            break;
        }
    }
    if (finding.trueLine == finding.line) finding.trueLine = 0;
    return finding;
}

}  // namespace

void addServerErrors(const Checked& checked, Findings& findings) {
    const EntriesByKey entries = entriesByKey(checked);
    std::map<ConfigError, std::size_t> seen;
    for (const auto& [report, given] : checked.view.reports) {
        Finding finding = explained(checked, entries, report, seen[report.error]++);
        if (given) finding.logLine = report.logLine;
        findings.push_back(std::move(finding));
    }
}

}  // namespace tools::opcuacheck
