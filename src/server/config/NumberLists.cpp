#include "server/config/NumberLists.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

#include "server/config/IntegerText.h"
#include "server/config/SectionNames.h"

// ---- Lists -------------------------------------------------------------------------------------

namespace {

bool isSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

std::string trimmed(std::string_view text) {
    while (!text.empty() && isSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isSpace(text.back())) {
        text.remove_suffix(1);
    }
    return std::string(text);
}

std::optional<NumberRange> readItem(const std::string& item) {
    const auto dash = item.find('-');
    // Without a dash both ends are the item itself. Blanks next to a dash are refused on purpose.
    const auto first = wholeInteger(item.substr(0, dash), LeadingBlanks::refused);
    const auto last = dash == std::string::npos
                          ? first
                          : wholeInteger(item.substr(dash + 1), LeadingBlanks::refused);
    if (!first || !last) return std::nullopt;
    return NumberRange{*first, *last};
}

}  // namespace

NumberList readNumberList(const std::string& value) {
    NumberList list;
    const std::string text = trimmed(value);
    list.all = text == "all";
    if (list.all) return list;

    // A comma at the very end starts no further item.
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t comma = std::min(text.find(',', begin), text.size());
        std::string item = trimmed(std::string_view(text).substr(begin, comma - begin));
        const auto range = readItem(item);
        if (!range) return {false, {}, std::move(item)};
        list.ranges.push_back(*range);
        begin = comma + 1;
    }
    return list;
}

namespace {

/// @param whenAll  the result for "all"
std::vector<std::int32_t> expandedList(const std::string& value,
                                       const std::vector<std::int32_t>& whenAll) {
    const NumberList list = readNumberList(value);
    if (list.all) return whenAll;

    std::vector<std::int32_t> numbers;
    for (const auto& [first, last] : list.ranges) {
        for (std::int64_t number = first; number <= last; ++number) {
            if (number != 0) numbers.push_back(static_cast<std::int32_t>(number));
        }
    }
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    return numbers;
}

}  // namespace

std::vector<std::int32_t> getNumbersTagsOperative(const std::string& value) {
    return expandedList(value, {-1});
}

std::vector<std::int32_t> getNumbersTagsOperativeByGroup(const std::string& value) {
    return getNumbersTagsOperative(value);
}

std::vector<std::int32_t> getNumbersTagsHistorical(const std::string& value) {
    // KEPT: "all" gives the empty list here, but {-1} above. Required by the interface. A plotter
    // without a list has all its pens.
    return expandedList(value, {});
}

// ---- Numbers of sections -----------------------------------------------------------------------

namespace {

std::int32_t numberBehind(std::string_view prefix, const std::string& name) {
    if (name.compare(0, prefix.size(), prefix) != 0) return -1;
    return wholeInteger(name.substr(prefix.size()), LeadingBlanks::skipped).value_or(-1);
}

}  // namespace

std::int32_t getNumberGroup(const std::string& sectionName) {
    return numberBehind(kGroupSection, sectionName);
}

std::int32_t getNumberPlotter(const std::string& sectionName) {
    return numberBehind(kPlotterSection, sectionName);
}
