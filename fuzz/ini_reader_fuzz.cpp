#include "fuzz/support/fuzzing.h"
#include "server/config/IniConfigManager.h"
#include "server/config/LineSearch.h"
#include "server/config/ListSections.h"

namespace {

void requireAccepted(const std::string& path, const Section& section, std::int32_t lines) {
    require(ListSections::getInstance().hasSection(section.name));
    for (const auto& [key, value, place] : section.params) {
        require(ListSections::getInstance().hasParam(section.name, key));
        require(value.find_first_of(":;") == std::string::npos);

        require(place >= 0 && place <= lines);

        const auto line = findLineNumber(path, key);
        require(line >= 1 && line <= lines + 1);
        // Every line is found once. Numbers that are not lines must not matter.
        std::vector<std::int32_t> used{-1, 0, lines + 1};
        require(findLineNumberParam(path, key, used) == line);
        require(findLineNumberParam(path, key, used) > line || line == lines + 1);
        const auto entry = findLineNumberTagConf(path, key, 0, {});
        require(entry >= 1 && entry <= lines + 1);
    }
}

}  // namespace

/// A configuration file of any content: nothing crashes, and only what the schema knows is
/// accepted.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    declareSchema(ListSections::getInstance());
    const std::string& path = inputFile(data, size);

    std::vector<Section> sections;
    require(IniConfigManager::readConfigFile(path, sections) == 0);
    const std::int32_t lines = findLineNumber(path, "\n") - 1;  // no line holds a line feed
    for (const auto& section : sections)
        requireAccepted(path, section, lines);
    return 0;
}
