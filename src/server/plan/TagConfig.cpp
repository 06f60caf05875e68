#include "server/plan/TagConfig.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "server/config/IniText.h"

namespace {

/// Decimal integer at the start of the text, 0 when there is none; saturates when out of range.
int leadingInteger(std::string_view text) {
    const long number = std::strtol(std::string(text).c_str(), nullptr, 10);
    return static_cast<int>(
        std::clamp<long>(number, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

}  // namespace

std::string trim(std::string_view text) {
    return std::string(withoutBlanks(text));
}

std::optional<TagInfo> readTagEntry(const KeyValue& entry) {
    const std::string_view value = entry.value;
    const std::size_t firstComma = value.find(',');
    if (firstComma == std::string_view::npos) return std::nullopt;

    // The access is the whole rest of the text, including further commas.
    std::string_view number = value.substr(firstComma + 1);
    std::string_view access;
    if (const std::size_t secondComma = number.find(','); secondComma != std::string_view::npos) {
        access = number.substr(secondComma + 1);
        number = number.substr(0, secondComma);
    }

    TagInfo info;
    info.key = entry.key;
    info.name = trim(value.substr(0, firstComma));
    info.attributeNumber = leadingInteger(trim(number));
    info.access = trim(access);
    if (info.access.empty()) info.access = "default";
    return info;
}

std::vector<TagInfo> readTagConfig(const std::vector<Section>& sections, std::string_view marker,
                                   const EntrySource& source) {
    std::vector<TagInfo> result;
    for (const Section& section : sections) {
        if (!source.takes(section.name)) continue;
        for (const KeyValue& entry : section.params) {
            if (!entry.key.starts_with(marker)) continue;
            if (auto info = readTagEntry(entry)) result.push_back(std::move(*info));
        }
    }
    return result;
}
