#include <algorithm>
#include <map>
#include <unordered_map>

#include "server/config/NumberLists.h"
#include "server/config/SectionNames.h"
#include "server/plan/TagConfig.h"
#include "server/plan/TreeNames.h"
#include "tools/opcuacheck/finding.h"

namespace tools::opcuacheck {

namespace {

bool isGroup(const Section& section) {
    return schemaNameOf(section.name) == kGroupSection;
}

const KeyValue* entryOf(const Section& section, std::string_view key) {
    const auto found = std::ranges::find(section.params, key, &KeyValue::key);
    return found == section.params.end() ? nullptr : &*found;
}

Finding atHeading(RuleId rule, const Section& section, std::vector<std::string> arguments) {
    return {rule, section.line, 0, shown(section.name), {}, std::move(arguments), {}};
}

/// The digits after the text that marks a numbered section.
std::string digitsBehind(const std::string& name, std::string_view prefix) {
    std::string digits;
    for (auto i = name.find(prefix) + prefix.size(); i < name.size(); ++i) {
        if (name[i] >= '0' && name[i] <= '9') {
            digits += name[i];
        } else if (!digits.empty()) {
            break;
        }
    }
    return digits;
}

void lookAtNumber(const Section& section, std::string_view prefix, Findings& findings) {
    const std::string digits = digitsBehind(section.name, prefix);
    const bool textInFront = !section.name.starts_with(prefix);
    const bool group = prefix == kGroupSection;
    findings.push_back(
        atHeading(textInFront ? RuleId::sectionTextInFront : RuleId::sectionTextBehind, section,
                  {shown(section.name), std::string(prefix),
                   group ? "у тегов этой группы не будет значений" : "секция не действует",
                   group ? "the tags of this group get no values" : "the section has no effect",
                   std::string(prefix) + (digits.empty() ? "1" : digits)}));
}

void lookAtName(const Section& section, Findings& findings) {
    const KeyValue* const name = entryOf(section, "Name");
    if (name == nullptr || trim(name->value) == name->value) return;
    const std::string plain = shown(trim(name->value));
    findings.push_back(
        atEntry(RuleId::nameTrailingBlank, section, *name, {shown(name->value), plain}));
}

// ---- Groups ------------------------------------------------------------------------------------

class GroupTraps {
  public:
    GroupTraps(const Checked& checked, Findings& findings) : findings_(findings) {
        for (const Section& section : checked.view.sections) {
            if (isGroup(section)) groups_.push_back(&section);
        }
        for (const Section* group : groups_) {
            lastOfNumber_[getNumberGroup(group->name)] = group;
        }
    }

    void look() {
        for (const Section* group : groups_) {
            lookAtName(*group, findings_);
            const int number = getNumberGroup(group->name);
            if (number == -1) {
                lookAtNumber(*group, kGroupSection, findings_);
                continue;
            }
            const KeyValue* const name = entryOf(*group, "Name");
            if (name != nullptr && name->value.empty()) {
                findings_.push_back(atEntry(RuleId::groupNameEmpty, *group, *name,
                                            {"Group_" + std::to_string(number)}));
            }
            lookAtForm(*group, number);
            lookAtPrefixes(*group, number);
        }
    }

  private:
    void add(RuleId rule, const Section& group, std::vector<std::string> arguments) {
        findings_.push_back(atHeading(rule, group, std::move(arguments)));
    }

    void lookAtForm(const Section& group, int number) {
        const std::string text = std::to_string(number);
        const Section* const last = lastOfNumber_.at(number);
        if (last != &group) {
            add(RuleId::groupSameNumber, group, {text, shown(last->name)});
        } else if (group.name.find(std::string(kGroupSection) + text) == std::string::npos) {
            add(RuleId::groupNumberForm, group, {text});
        }
    }

    /// Reported at the section with the longer number, whose entries also go to the shorter one's
    /// tags.
    void lookAtPrefixes(const Section& group, int number) {
        const std::string digits = digitsBehind(group.name, kGroupSection);
        for (std::size_t length = 1; length < digits.size() && length < 10; ++length) {
            const int shorter = std::stoi(digits.substr(0, length));
            const auto found = lastOfNumber_.find(shorter);
            const bool itself = std::to_string(shorter) != digits.substr(0, length);
            if (found == lastOfNumber_.end() || shorter == number || itself) continue;
            const std::string text = std::to_string(shorter);
            add(RuleId::groupPrefix, *found->second, {text, shown(group.name)});
        }
    }

    Findings& findings_;
    std::vector<const Section*> groups_;
    std::unordered_map<int, const Section*> lastOfNumber_;
};

// ---- Plotters ----------------------------------------------------------------------------------

void addPlotterTraps(const Checked& checked, Findings& findings) {
    std::map<int, const Section*> firstOfNumber;
    for (const Section& section : checked.view.sections) {
        if (section.name == kPlotterSchema) {
            findings.push_back(atHeading(RuleId::sectionNoNumber, section, {section.name}));
        }
        if (!holdsPlotter(section.name)) continue;
        lookAtName(section, findings);
        const int number = getNumberPlotter(section.name);
        if (number == -1) {
            lookAtNumber(section, kPlotterSection, findings);
        } else if (number < 1) {
            findings.push_back(atHeading(RuleId::plotterNumber, section, {std::to_string(number)}));
        } else if (const auto [first, isNew] = firstOfNumber.try_emplace(number, &section);
                   !isNew) {
            findings.push_back(atHeading(RuleId::plotterSameNumber, section,
                                         {std::to_string(number), shown(first->second->name)}));
        }
    }
    std::map<std::string, int> numberByFolder;
    for (const auto& [number, section] : firstOfNumber) {
        const KeyValue* const name = entryOf(*section, "Name");
        const std::string folder =
            plotterFolderName(number, name != nullptr ? name->value : section->name);
        const auto [first, isNew] = numberByFolder.try_emplace(folder, number);
        if (isNew) continue;
        Finding finding =
            atHeading(RuleId::plotterSameName, *section, {folder, std::to_string(first->second)});
        if (name != nullptr) finding.line = name->line;
        findings.push_back(std::move(finding));
    }
}

// ---- Tags in two places ------------------------------------------------------------------------

/// The group section that made the folder.
const Section* sectionOfFolder(const Checked& checked, int folder) {
    auto next = static_cast<int>(kFirstGroupFolder);
    for (const Section& section : checked.view.sections) {
        if (!holdsGroup(section.name)) continue;
        if (next++ == folder) return &section;
    }
    return nullptr;
}

void addTagsTwice(const Checked& checked, Findings& findings) {
    for (const TagConflict& conflict : checked.view.conflicts) {
        const Section* const section = sectionOfFolder(checked, conflict.groupFolder);
        const Section* const owner = sectionOfFolder(checked, conflict.ownerFolder);
        const KeyValue* const list =
            section == nullptr ? nullptr : entryOf(*section, kindOf(conflict.kind).word);
        if (list == nullptr) continue;
        const std::string tag =
            std::string(kindOf(conflict.kind).structPrefix) + std::to_string(conflict.firstTag);
        const std::string ownerName =
            owner == nullptr ? std::string(kFlatSection) : shown(owner->name);
        findings.push_back(atEntry(RuleId::tagTwice, *section, *list,
                                   {tag, "[" + ownerName + "]", std::to_string(conflict.count)}));
    }
}

}  // namespace

void addSectionTraps(const Checked& checked, Findings& findings) {
    GroupTraps(checked, findings).look();
    addPlotterTraps(checked, findings);
    addTagsTwice(checked, findings);
}

}  // namespace tools::opcuacheck
