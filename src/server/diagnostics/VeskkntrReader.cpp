#include "server/diagnostics/VeskkntrReader.h"

#include <fstream>
#include <optional>
#include <sstream>
#include <string_view>

namespace {

/// The text after the first "=" that follows the key; nothing when the line lacks either.
std::optional<std::string> valueInLine(const std::string& line, std::string_view key) {
    const auto keyAt = line.find(key);
    if (keyAt == std::string::npos) return std::nullopt;
    const auto equalsAt = line.find('=', keyAt + key.size());
    if (equalsAt == std::string::npos) return std::nullopt;
    return line.substr(equalsAt + 1);
}

void readNumber(const std::string& path, std::string_view key, std::int32_t& stored) {
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        const auto maybeValue = valueInLine(line, key);
        if (!maybeValue) continue;
        // KEPT: the first line that mentions the key before an "=" decides, even if it is a
        // comment. Required by the interface.
        std::int32_t number = 0;
        if (std::istringstream(*maybeValue) >> number) stored = number;
        return;
    }
}

}  // namespace

std::int32_t VeskkntrReader::getNumKontr(const std::string& path) {
    readNumber(path, "Number_kontr", numKontr_);
    return numKontr_;
}

std::int32_t VeskkntrReader::getCycleTime(const std::string& path) {
    readNumber(path, "CycleTime", cycleTimeMs_);
    return cycleTimeMs_;
}
