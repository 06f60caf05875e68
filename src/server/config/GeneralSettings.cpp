#include "server/config/GeneralSettings.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "server/config/ConfigState.h"
#include "server/config/IntegerText.h"
#include "server/config/LineSearch.h"
#include "server/diagnostics/OperatorMessages.h"

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
    const auto end = text.find_last_not_of(" \t\n\r") + 1;
    return wholeInteger(std::string(text.substr(0, end)), LeadingBlanks::skipped);
}

std::optional<int> readServerPort(const std::vector<Section>& sections) {
    std::optional<int> last;
    for (const std::string_view value : valuesOf(sections, "ServerPort")) {
        last = parseWholeInteger(value);
        if (!last) break;
        // KEPT: only these ten ports. Required by the interface.
        if (*last < kFirstPort || *last > kLastPort) {
            reportConfigError(ConfigError::serverPort, findLineNumber(iniFilePath, "ServerPort"));
            return std::nullopt;
        }
    }
    if (!last) reportConfigError(ConfigError::serverPort);
    return last;
}

std::string applicationNameCp866(const std::vector<Section>& sections) {
    std::string name;
    for (const std::string_view value : valuesOf(sections, "AplicationName")) {
        // KEPT: the name is cut before its blanks are removed, so one with blanks ends up shorter
        // than the limit. Required by the interface.
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
        // KEPT: every word but this one switches on, even "no" and "OFF". Required by the
        // interface.
        return word == "off";
    });
}

SamplingDecision decideSamplingInterval(double askedMs, double cycleTimeMs) {
    if (askedMs < kShortestIntervalMs) return {cycleTimeMs, true};
    if (askedMs > kLongestIntervalMs) return {kLongestIntervalMs, true};
    // KEPT: an interval below the controller's cycle is reported, but not raised to the cycle.
    // Required by the interface.
    if (askedMs < cycleTimeMs) return {std::nullopt, true};
    return {askedMs, false};
}

double readSamplingInterval(const std::vector<Section>& sections, double cycleTimeMs,
                            double intervalMs) {
    for (const std::string_view value : valuesOf(sections, "SamplingInterval")) {
        const std::optional<double> askedMs = parseLeadingNumber(value);
        // KEPT: a value that is not a number ends the scan and is not reported. Required by the
        // interface.
        if (!askedMs) break;
        const SamplingDecision decision = decideSamplingInterval(*askedMs, cycleTimeMs);
        intervalMs = decision.intervalMs.value_or(intervalMs);
        if (decision.report) {
            reportConfigError(ConfigError::samplingInterval,
                              findLineNumber(iniFilePath, "SamplingInterval"));
        }
    }
    return intervalMs;
}

std::optional<double> parseLeadingNumber(std::string_view text) {
    std::istringstream stream{std::string(text)};
    double number = 0;
    if (!(stream >> number)) return std::nullopt;
    return number;
}

/// Does not use a stream, because every history read parses its number of values again.
std::optional<std::int32_t> parseLeadingInteger(std::string_view text) {
    const std::string terminated(text);
    char* end = nullptr;
    const long number = std::strtol(terminated.c_str(), &end, 10);
    if (end == terminated.c_str() || !std::in_range<std::int32_t>(number)) return std::nullopt;
    return static_cast<std::int32_t>(number);
}
