// Numbers and lists of numbers, as configurations and settings write them, of any text.

#include "fuzz/support/fuzzing.h"
#include "lib/util/conf_ini.h"
#include "server/config/GeneralSettings.h"
#include "server/config/NumberLists.h"

namespace {

template <class Number>
bool ascends(const std::vector<Number>& numbers) {
    return std::adjacent_find(numbers.begin(), numbers.end(),
                              [](auto a, auto b) { return a >= b; }) == numbers.end();
}

void requireLists(const std::string& text) {
    const auto numbers = getNumbersTagsOperative(text);
    const bool all = numbers == std::vector<std::int32_t>{-1};
    require(all || (ascends(numbers) && (numbers.empty() || numbers.front() > 0)));
    require(getNumbersTagsHistorical(text) == (all ? std::vector<std::int32_t>() : numbers));

    constexpr int kMost = 100;
    std::vector<int> variables;
    const bool isList = IniFile::ConvertStrToListVar(text.c_str(), kMost, variables) == 0;
    require(isList || variables.empty());
    for (const int number : variables)
        require(number >= 1 && number <= kMost);
}

void requireNumbers(const std::string& text) {
    if (const auto whole = parseWholeInteger(text)) require(parseLeadingInteger(text) == whole);
    if (const auto asked = parseLeadingNumber(text)) {
        constexpr double kCycleMs = 100;
        const auto decided = decideSamplingInterval(*asked, kCycleMs).intervalMs.value_or(kCycleMs);
        require(decided >= kShortestIntervalMs && decided <= kLongestIntervalMs);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kLongest = 64;  // many long ranges only take time
    const std::string text(data, data + std::min(size, kLongest));
    requireNumbers(text);
    require(getNumberGroup("Attributes_Group" + text) == getNumberPlotter("Plotter_" + text));
    if (text.find('-') == std::string::npos || hasShortNumbersOnly(text, 3)) requireLists(text);
    return 0;
}
