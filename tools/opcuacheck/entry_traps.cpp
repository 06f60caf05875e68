#include <algorithm>
#include <bitset>
#include <charconv>
#include <map>
#include <set>
#include <unordered_map>

#include "server/config/NumberLists.h"
#include "server/config/SectionNames.h"
#include "server/kinds/AccessTypeAtr.h"
#include "server/plan/TagConfig.h"
#include "server/plan/TagLists.h"
#include "tools/opcuacheck/finding.h"
#include "tools/opcuacheck/nearest.h"

namespace tools::opcuacheck {

namespace {

using KindSet = std::bitset<kKinds.size()>;  // by VariableType

/// The kinds of which the section publishes at least one tag.
KindSet listedKinds(const Section& section) {
    KindSet kinds;
    for (const KeyValue& entry : section.params) {
        const VariableKind* const kind = kindListedBy(entry.key);
        if (kind == nullptr) continue;
        const NumberList list = readNumberList(entry.value);
        kinds[static_cast<std::size_t>(kind->type)] =
            list.all || !mergedRanges(list.ranges).empty();
    }
    return kinds;
}

/// The numbers with which the digits after "Attributes_Group" begin: "1" and "12" for group 12. The
/// groups with all these numbers take the section's entries.
std::vector<std::string> numberStarts(const std::string& name) {
    constexpr std::size_t kMostDigits = 10;
    std::vector<std::string> starts;
    const auto at = name.find(kGroupSection);
    if (at == std::string::npos) return starts;
    std::string digits;
    for (auto i = at + kGroupSection.size(); i < name.size() && digits.size() < kMostDigits; ++i) {
        if (name[i] < '0' || name[i] > '9') break;
        digits += name[i];
        starts.push_back(digits);
    }
    return starts;
}

/// Checks the entries of one section on their own.
class EntryTraps : private EntryLooker {
  public:
    EntryTraps(const Checked& checked, Findings& findings) : EntryLooker(checked, findings) {
        for (const GivenReport& given : checked.view.reports) {
            if (given.report.error == ConfigError::attribute) {
                reportedLines_.insert(given.report.line.value_or(0));
            }
        }
        for (const Section& section : checked.view.sections) {
            listed_.emplace(&section, listedKinds(section));
            for (const std::string& number : numberStarts(section.name)) {
                groupsByStart_[number].push_back(&section);
            }
            if (const int number = getNumberGroup(section.name); number >= 0) {
                groupsByNumber_[std::to_string(number)].push_back(&section);
            }
        }
    }

    void look(const Section& section) {
        section_ = &section;
        std::set<const PublishedType*> configured;
        for (const KeyValue& entry : section.params) {
            if (!isEntryKey(entry.key) || holdsPlotter(section.name)) continue;
            entry_ = &entry;
            if (!holdsEntries(section.name)) {
                add(RuleId::entryPlace, {shown(section.name)});
                continue;
            }
            type_ = typeOfEntry(entry.key);
            if (type_ == nullptr) {
                lookAtMarker();
                continue;
            }
            configured.insert(type_);
            lookAtEntry();
        }
        if (holdsEntries(section.name)) lookAtKindsWithout(configured);
    }

  private:
    void lookAtMarker() {
        const std::string& key = entry_->key;
        const auto at = key.find(kEntryMark) + kEntryMark.size();
        std::string digits;
        for (std::size_t i = at; i < key.size() && key[i] >= '0' && key[i] <= '9'; ++i) {
            digits += key[i];
        }
        std::string marker = std::string(kEntryMark) + digits + ".";
        const bool known = std::ranges::any_of(
            kPublishedTypes, [&](const PublishedType& type) { return type.marker == marker; });
        if (!known) marker = "Type1.";
        add(RuleId::entryMarker, {shown(key), marker});
    }

    void lookAtEntry() {
        const auto info = readTagEntry(*entry_);
        if (!info) return add(RuleId::entryNoComma, {shown(entry_->key), exampleOf(*type_)});
        if (info->name.empty()) {
            add(RuleId::entryNameEmpty, {shown(entry_->key), exampleOf(*type_)});
        }
        lookAtNumber(info->attributeNumber);
        if (mayBeExported(*type_, info->attributeNumber)) {
            lookAtAccess(*info);
        } else if (!isReported()) {
            add(RuleId::entryRefused,
                {std::to_string(info->attributeNumber), wordOf(*type_), permittedNumbers(*type_)});
        }
        if (!isPublishedHere(type_->kind)) {
            add(RuleId::entryUnused,
                {wordOf(*type_), shown(section_->name), std::string(kindOf(type_->kind).word)});
        }
    }

    /// Whether the server itself reports the line.
    bool isReported() const { return reportedLines_.contains(entry_->line); }

    void lookAtNumber(int number) {
        const std::string& value = entry_->value;
        const auto begin = value.find(',') + 1;
        const std::string field = trim(value.substr(begin, value.find(',', begin) - begin));
        int whole = 0;
        const char* const end = field.data() + field.size();
        const auto [rest, error] = std::from_chars(field.data(), end, whole);
        if (error == std::errc{} && rest == end) return;
        add(RuleId::entryNumber, {shown(field), std::to_string(number)});
    }

    void lookAtAccess(const TagInfo& info) {
        const AccessDecision decision =
            AccessTypeAtr::decideAccess(info.access, info.attributeNumber, type_->access);
        if (!decision.overruled) return;
        std::vector<std::string> texts;
        texts.reserve(std::size(kAccessTexts));
        for (const AccessText& known : kAccessTexts) {
            texts.emplace_back(known.text);
        }
        if (std::ranges::find(texts, info.access) != texts.end()) {
            return add(RuleId::accessReadOnly,
                       {std::to_string(info.attributeNumber), shown(info.access)});
        }
        const std::string near = nearest(info.access, texts);
        add(RuleId::accessUnknown, {shown(info.access), std::string(accessTextOf(decision.right)),
                                    near.empty() ? texts.front() : near});
    }

    bool listsAny(const Section& section, VariableType kind) const {
        return listed_.at(&section)[static_cast<std::size_t>(kind)];
    }

    /// A group's entries also apply to the tags of every group with whose number this one's begins.
    bool isPublishedHere(VariableType kind) const {
        if (listsAny(*section_, kind)) return true;
        if (isFlatSection(section_->name)) return false;
        for (const std::string& number : numberStarts(section_->name)) {
            const auto groups = groupsByNumber_.find(number);
            if (groups == groupsByNumber_.end()) continue;
            const auto lists = [&](const Section* group) { return listsAny(*group, kind); };
            if (std::ranges::any_of(groups->second, lists)) return true;
        }
        return false;
    }

    void lookAtKindsWithout(const std::set<const PublishedType*>& configured) {
        for (const KeyValue& entry : section_->params) {
            const VariableKind* const kind = kindListedBy(entry.key);
            if (kind == nullptr || !listsAny(*section_, kind->type)) continue;
            const bool has = std::ranges::any_of(
                configured, [&](const PublishedType* type) { return type->kind == kind->type; });
            if (has || takesFromOthers(kind->type)) continue;
            entry_ = &entry;
            const PublishedType* const type = findPublishedType(static_cast<int>(kind->type), 0);
            add(RuleId::listNoEntries, {std::string(kind->word), shown(section_->name),
                                        std::string(type->marker) + "1 = " + exampleOf(*type)});
        }
    }

    bool takesFromOthers(VariableType kind) const {
        const int number = getNumberGroup(section_->name);
        if (number < 0) return false;
        const auto sources = groupsByStart_.find(std::to_string(number));
        if (sources == groupsByStart_.end()) return false;
        const auto isOfKind = [&](const KeyValue& entry) {
            const PublishedType* const type = typeOfEntry(entry.key);
            return type != nullptr && type->kind == kind;
        };
        return std::ranges::any_of(sources->second, [&](const Section* other) {
            return other != section_ && std::ranges::any_of(other->params, isOfKind);
        });
    }

    const PublishedType* type_ = nullptr;
    std::set<std::int32_t> reportedLines_;
    std::unordered_map<const Section*, KindSet> listed_;
    std::unordered_map<std::string, std::vector<const Section*>> groupsByStart_;
    std::unordered_map<std::string, std::vector<const Section*>> groupsByNumber_;
};

// ---- The same node twice -----------------------------------------------------------------------

struct PlacedEntry {
    const Section* section;
    const KeyValue* entry;
    TagInfo info;
};

/// The entries of one type that make nodes, from the sections that one place of the tree uses.
std::vector<PlacedEntry> nodeEntries(const std::vector<const Section*>& sections,
                                     const PublishedType& type) {
    std::vector<PlacedEntry> entries;
    for (const Section* section : sections) {
        for (const KeyValue& entry : section->params) {
            if (!entry.key.starts_with(type.marker)) continue;
            auto info = readTagEntry(entry);
            if (!info || !mayBeExported(type, info->attributeNumber)) continue;
            entries.push_back({section, &entry, std::move(*info)});
        }
    }
    return entries;
}

void addTwins(const std::vector<const Section*>& sections, Findings& findings) {
    for (const PublishedType& type : kPublishedTypes) {
        const auto entries = nodeEntries(sections, type);
        std::map<std::pair<std::string, int>, std::int32_t> lineOf;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            const auto& [section, entry, info] = entries[i];
            const auto [first, isNew] =
                lineOf.try_emplace(std::pair(info.name, info.attributeNumber), entry->line);
            if (isNew) continue;
            const bool last = i + 1 == entries.size();
            findings.push_back(atEntry(last ? RuleId::entryTwiceLast : RuleId::entryTwice, *section,
                                       *entry,
                                       {shown(info.name), std::to_string(info.attributeNumber),
                                        std::to_string(first->second), wordOf(type)}));
        }
    }
}

}  // namespace

void addEntryTraps(const Checked& checked, Findings& findings) {
    EntryTraps traps(checked, findings);
    std::vector<const Section*> flat;
    for (const Section& section : checked.view.sections) {
        traps.look(section);
        if (isFlatSection(section.name)) flat.push_back(&section);
        if (!isFlatSection(section.name) && holdsEntries(section.name)) {
            addTwins({&section}, findings);
        }
    }
    addTwins(flat, findings);
}

}  // namespace tools::opcuacheck
