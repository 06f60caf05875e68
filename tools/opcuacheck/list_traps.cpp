#include <algorithm>

#include "server/bounds/ConfigBounds.h"
#include "server/config/IniText.h"
#include "server/config/NumberLists.h"
#include "server/config/SectionNames.h"
#include "server/plan/TagConfig.h"
#include "server/plan/TagLists.h"
#include "tools/opcuacheck/finding.h"

namespace tools::opcuacheck {

namespace {

/// Lists with more numbers than this are reported as too expensive for the server: a number takes
/// about 12 bytes while the list grows.
constexpr std::int64_t kTooManyNumbers = 10'000'000;
constexpr std::int64_t kBytesPerNumber = 12;

/// The list as it was probably meant; "1-8" if that is not clear.
std::string repaired(const std::string& value) {
    std::string list = lowered(trim(value));
    if (list == "all" || list.find("all") != std::string::npos) return "all";
    std::ranges::replace(list, ';', ',');
    std::string result;
    for (std::size_t begin = 0; begin < list.size();) {
        const std::size_t end = std::min(list.find(',', begin), list.size());
        std::string item = trim(list.substr(begin, end - begin));
        begin = end + 1;
        if (item.find('-') != std::string::npos) std::erase(item, ' ');
        std::ranges::replace(item, ' ', ',');  // two numbers in one item
        if (item.empty() || readNumberList(item).badItem) continue;
        result.append(result.empty() ? "" : ", ").append(item);
    }
    return result.empty() ? "1-8" : result;
}

std::string asText(const std::vector<NumberRange>& ranges) {
    std::string text;
    for (const auto& [first, last] : ranges) {
        text.append(text.empty() ? "" : ", ").append(std::to_string(first));
        if (last > first) text.append("-").append(std::to_string(last));
    }
    return text;
}

class ListTraps : private EntryLooker {
  public:
    using EntryLooker::EntryLooker;

    void look(const Section& section, const KeyValue& entry) {
        const bool plotter = holdsPlotter(section.name);
        const VariableKind* const kind = kindListedBy(entry.key);
        if (plotter ? entry.key != "Pens" : kind == nullptr) return;
        section_ = &section;
        entry_ = &entry;
        const NumberList list = readNumberList(entry.value);
        if (list.all) {
            if (plotter) add(RuleId::pensAll, {});
            return;
        }
        if (list.badItem) {
            return add(plotter ? RuleId::pensBadItem : RuleId::listBadItem,
                       {shown(*list.badItem), entry.key, shown(repaired(entry.value))});
        }
        lookAtItems(list.ranges);
        lookAtSemicolon();
        lookAtLength(list.ranges);
        const auto numbers = mergedRanges(list.ranges);
        if (numbers.empty()) {
            add(plotter ? RuleId::pensEmpty : RuleId::listEmpty, {entry.key});
        } else if (!plotter) {
            lookAtAbsent(numbers, *kind);
        }
    }

  private:
    void lookAtItems(const std::vector<NumberRange>& ranges) {
        bool zero = false;
        for (const auto& [first, last] : ranges) {
            zero = zero || (first <= 0 && last >= 0);
            if (first <= last) continue;
            add(RuleId::rangeReversed, {std::to_string(first) + "-" + std::to_string(last),
                                        std::to_string(last) + "-" + std::to_string(first)});
        }
        if (zero) add(RuleId::listZero, {});
    }

    /// Numbers after a semicolon that directly follows a number were probably meant to be in the
    /// list.
    void lookAtSemicolon() {
        const std::string_view whole = writtenValue();
        const auto at = whole.find(';');
        if (at == std::string_view::npos || at == 0 || whole[at - 1] == ' ') return;
        const std::string rest = trim(whole.substr(at + 1));
        if (rest.empty() || readNumberList(rest).ranges.empty()) return;
        add(RuleId::listSemicolon, {rest, entry_->key, trim(entry_->value) + ", " + rest});
    }

    void lookAtLength(const std::vector<NumberRange>& ranges) {
        const std::int64_t count = expandedCount(ranges);
        if (count < kTooManyNumbers) return;
        add(RuleId::listTooLong,
            {std::to_string(count), std::to_string(count * kBytesPerNumber / 1'000'000)});
    }

    void lookAtAbsent(const std::vector<NumberRange>& numbers, const VariableKind& kind) {
        const auto& known = checked_.database.countOf(kind.type);
        const int last = known.value_or(kLastTagNumber);
        std::vector<NumberRange> absent;
        for (const NumberRange& range : numbers) {
            if (range.last > last) absent.push_back({std::max(range.first, last + 1), range.last});
        }
        if (absent.empty()) return;
        constexpr std::size_t kShown = 5;
        const bool more = absent.size() > kShown;
        if (more) absent.resize(kShown);
        add(known ? RuleId::listAbsent : RuleId::listBeyond,
            {std::string(kind.word), asText(absent), more ? ", …" : "", std::to_string(last)});
    }
};

}  // namespace

void addListTraps(const Checked& checked, Findings& findings) {
    ListTraps traps(checked, findings);
    for (const Section& section : checked.view.sections) {
        for (const KeyValue& entry : section.params) {
            traps.look(section, entry);
        }
    }
    if (!checked.view.worked) {
        findings.push_back({RuleId::treeTooLarge, 0, 0, {}, {}, {std::to_string(kMostTags)}, {}});
    }
}

}  // namespace tools::opcuacheck
