#include <algorithm>
#include <set>
#include <string_view>

#include "server/config/GeneralSettings.h"
#include "server/config/IniText.h"
#include "server/config/SectionNames.h"
#include "server/plan/TagConfig.h"
#include "tools/opcuacheck/finding.h"

namespace tools::opcuacheck {

// ---- The file as a whole -----------------------------------------------------------------------

namespace {

/// Looks for bytes that begin a Cyrillic letter of UTF-8, followed by a continuation byte.
bool looksLikeUtf8(const std::string& bytes) {
    std::size_t pairs = 0;
    std::size_t others = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (byte < 0x80) continue;
        const bool begins = byte == 0xD0 || byte == 0xD1;
        const bool continued =
            i + 1 < bytes.size() && (static_cast<unsigned char>(bytes[i + 1]) & 0xC0U) == 0x80;
        if (begins && continued) {
            ++pairs;
            ++i;
        } else {
            ++others;
        }
    }
    return pairs > 0 && pairs > others;
}

/// In CP866 these bytes are box drawings, in Windows-1251 ordinary letters.
bool looksLikeCp1251(const std::string& bytes) {
    const auto count = [&](unsigned low, unsigned high) {
        return std::ranges::count_if(bytes, [=](char c) {
            const auto byte = static_cast<unsigned char>(c);
            return byte >= low && byte <= high;
        });
    };
    const auto frames = count(0xC0, 0xDF);
    return frames > 0 && frames + count(0xF2, 0xFF) > count(0x80, 0xAF);
}

}  // namespace

void addFileTraps(const ConfigFile& file, Findings& findings) {
    const auto add = [&](RuleId rule, std::int32_t line, std::vector<std::string> arguments) {
        findings.push_back({rule, line, 0, {}, {}, std::move(arguments), {}});
    };
    if (looksLikeUtf8(file.bytes())) {
        add(RuleId::encodingUtf8, 0, {});
    } else if (looksLikeCp1251(file.bytes())) {
        add(RuleId::encodingCp1251, 0, {});
    }
    if (file.nulLine() != 0) add(RuleId::fileHasNul, file.nulLine(), {});
    for (const std::int32_t line : file.ignoredLines()) {
        add(RuleId::lineIgnored, line, {});
    }
    for (const ConfigFile::Heading& heading : file.headings()) {
        if (!heading.closed) add(RuleId::headingUnclosed, heading.line, {shown(heading.name)});
    }
}

// ---- Settings ----------------------------------------------------------------------------------

namespace {

class GeneralTraps : private EntryLooker {
  public:
    using EntryLooker::EntryLooker;

    void look(const Section& section, const KeyValue& entry) {
        section_ = &section;
        entry_ = &entry;
        lookAtRepeats();
        lookAtColon();
        lookAtUnused();
        if (entry.key == "OperativeData" || entry.key == "HistoricalData") lookAtSwitch();
        if (entry.key == "AplicationName") lookAtName();
        if (entry.key == "SamplingInterval") lookAtSampling();
        if (entry.key == "CountHistoryTrends") lookAtHistoryCount();
    }

  private:
    void lookAtRepeats() {
        const auto entries = checked_.file.find(section_->name, entry_->key);
        for (std::size_t i = 0; i + 1 < entries.size(); ++i) {
            add(RuleId::keyRepeated,
                {shown(entry_->key), shown(section_->name), std::to_string(entries.back()->line)});
            findings_.back().line = entries[i]->line;
        }
    }

    void lookAtColon() {
        const std::string_view value = writtenValue();
        std::string whole = trim(value.substr(0, value.find(';')));
        if (whole.find(':') == std::string::npos) return;
        const std::string left = shown(trim(entry_->value));
        std::ranges::replace(whole, ':', '.');
        add(RuleId::valueColon, {left, shown(entry_->key + " = " + whole)});
    }

    void lookAtUnused() {
        const std::string& key = entry_->key;
        const bool unused =
            key == "Work_mode" || key == "AccessUserN" || section_->name == kAccessSection;
        const bool attribute = isEntryKey(key);  // reported as entry-place
        if (unused && !attribute) add(RuleId::keyUnused, {shown(key)});
    }

    void lookAtSwitch() {
        const std::string value = trim(entry_->value);
        const std::string word = value.substr(0, value.find_first_of(" \t"));
        if (word == "on" || word == "off") return;
        const std::string low = lowered(word);
        const std::set<std::string> off{
            "off",      "no",           "0",
            "false",    "of",           "disable",
            "disabled", "\xAD\xA5\xE2", "\xA2\xEB\xAA\xAB"};  // CP866: нет, выкл
        add(RuleId::switchWord, {shown(word), entry_->key, off.contains(low) ? "off" : "on"});
    }

    void lookAtName() {
        const std::string name = trim(entry_->value);
        const std::string taken = applicationNameCp866({{section_->name, {*entry_}}});
        if (name == taken) return;
        std::string whole = name;
        std::erase(whole, ' ');
        if (whole != taken) {
            add(RuleId::nameCut, {shown(taken)});
        } else {
            add(RuleId::nameBlanks, {shown(taken), shown(taken)});
        }
    }

    /// @return whether the value begins with a number
    bool lookAtNumber(const std::string& value, RuleId whenNone) {
        const auto number = parseLeadingNumber(value);
        if (!number) {
            add(whenNone, {shown(value)});
            return false;
        }
        const auto end = value.find_first_not_of("+-.0123456789eE");
        if (end != std::string::npos) {
            add(RuleId::numberWithRest, {shown(trim(value.substr(0, end))), entry_->key});
        }
        return true;
    }

    void lookAtSampling() {
        const std::string value = trim(entry_->value);
        if (!lookAtNumber(value, RuleId::samplingNoNumber)) return;
        const int cycleMs = checked_.view.cycleTimeMs;
        const double askedMs = parseLeadingNumber(value).value_or(0);
        if (decideSamplingInterval(askedMs, cycleMs).intervalMs.value_or(askedMs) > 0) return;
        add(RuleId::cycleNotPositive, {std::to_string(cycleMs), numberText(askedMs)});
    }

    void lookAtHistoryCount() {
        const std::string value = trim(entry_->value);
        const auto count = parseLeadingInteger(value);
        if (!count) return add(RuleId::historyCountNoNumber, {shown(value)});
        (void)lookAtNumber(value, RuleId::historyCountNoNumber);
        if (*count > kMostHistoryValues) {
            add(RuleId::historyCountBounds,
                {std::to_string(*count), std::to_string(kMostHistoryValues)});
        } else if (*count < 1) {
            add(RuleId::historyCountBounds, {std::to_string(*count), std::to_string(*count)});
        }
    }
};

}  // namespace

void addGeneralTraps(const Checked& checked, Findings& findings) {
    GeneralTraps traps(checked, findings);
    for (const Section& section : checked.view.sections) {
        for (const KeyValue& entry : section.params) {
            traps.look(section, entry);
        }
    }
}

}  // namespace tools::opcuacheck
