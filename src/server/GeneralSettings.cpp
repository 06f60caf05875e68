#include "server/GeneralSettings.h"

#include <algorithm>
#include <sstream>

#include "server/attributes/TagConfig.h"

namespace {

constexpr std::size_t kApplicationNameBytes = 16;

constexpr double kShortestIntervalMs = 30.0;
constexpr double kLongestIntervalMs = 10'000.0;

}  // namespace

std::vector<std::string_view> valuesOf(const std::vector<Section>& sections, std::string_view key) {
    std::vector<std::string_view> values;
    for (const Section& section : sections) {
        for (const KeyValue& entry : section.params) {
            if (entry.key == key) values.push_back(entry.value);
        }
    }
    return values;
}

std::optional<int> parseWholeInteger(std::string_view text) {
    std::istringstream stream(trim(text));
    int number = 0;
    if (!(stream >> number) || stream.peek() != std::istringstream::traits_type::eof()) {
        return std::nullopt;
    }
    return number;
}

std::string applicationNameCp866(const std::vector<Section>& sections) {
    std::string name;
    for (const std::string_view value : valuesOf(sections, "AplicationName")) {
        // KEPT: cut first, then freed of blanks, so a name with blanks ends up shorter than it
        // could.
        name = value.substr(0, kApplicationNameBytes);
        std::erase(name, ' ');
    }
    return name;
}

bool switchedOn(const std::vector<Section>& sections, std::string_view key) {
    return std::ranges::none_of(valuesOf(sections, key), [](std::string_view value) {
        std::istringstream stream{std::string(value)};
        std::string word;
        stream >> word;
        // KEPT: any other word than this one, "no" and "OFF" among them, switches on.
        return word == "off";
    });
}

SamplingDecision decideSamplingInterval(double askedMs, double cycleTimeMs) {
    if (askedMs < kShortestIntervalMs) return {cycleTimeMs, true};
    if (askedMs > kLongestIntervalMs) return {kLongestIntervalMs, true};
    // KEPT: an interval below the controller's cycle is reported but not raised to it.
    if (askedMs < cycleTimeMs) return {std::nullopt, true};
    return {askedMs, false};
}

std::optional<double> parseLeadingNumber(std::string_view text) {
    std::istringstream stream{std::string(text)};
    double number = 0;
    if (!(stream >> number)) return std::nullopt;
    return number;
}
