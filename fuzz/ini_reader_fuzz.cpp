#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "server/config/IniConfigManager.h"
#include "server/config/LineSearch.h"
#include "server/config/ListSections.h"
#include "server/config/NumberLists.h"

static void require(bool holds) {
    if (!holds) std::abort();
}

/// A range is expanded in full, so numbers of more than four digits are left out: they only take
/// time.
static bool isShortList(std::string_view value) {
    std::size_t digits = 0;
    return std::all_of(value.begin(), value.end(), [&digits](char c) {
        digits = std::isdigit(static_cast<unsigned char>(c)) != 0 ? digits + 1 : 0;
        return digits <= 4;
    });
}

static void requireNumbersInOrder(const std::string& value) {
    const auto numbers = getNumbersTagsOperative(value);
    if (numbers == std::vector<std::int32_t>{-1}) return;
    require(std::adjacent_find(numbers.begin(), numbers.end(),
                               [](auto a, auto b) { return a >= b; }) == numbers.end());
    require(numbers.empty() || numbers.front() > 0);
    require(numbers == getNumbersTagsHistorical(value));
}

static void requireAccepted(const std::string& path, const Section& section, std::int32_t lines) {
    require(ListSections::getInstance().hasSection(section.name));
    for (const auto& [key, value] : section.params) {
        require(ListSections::getInstance().hasParam(section.name, key));
        require(value.find_first_of(":;") == std::string::npos);
        if (isShortList(value)) requireNumbersInOrder(value);

        std::vector<std::int32_t> used;
        const auto line = findLineNumber(path, key);
        require(line >= 1 && line <= lines + 1);
        require(findLineNumberParam(path, key, used) == line);
        require(findLineNumberParam(path, key, used) >= line);
        const auto entry = findLineNumberTagConf(path, key, 0, {});
        require(entry >= 1 && entry <= lines + 1);
    }
}

/// A configuration file of any content: nothing crashes, and what is accepted is what the schema
/// knows.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    declareSchema(ListSections::getInstance());
    const int file = memfd_create("opcuasrv.ini", MFD_CLOEXEC);
    require(write(file, data, size) == static_cast<ssize_t>(size));
    const std::string path = "/proc/self/fd/" + std::to_string(file);

    std::vector<Section> sections;
    require(IniConfigManager::readConfigFile(path, sections) == 0);
    const std::int32_t lines = findLineNumber(path, "\n") - 1;  // no line holds a line feed
    for (const auto& section : sections) {
        requireAccepted(path, section, lines);
        require(getNumberGroup(section.name) == -1 || getNumberPlotter(section.name) == -1);
    }
    close(file);
    return 0;
}
