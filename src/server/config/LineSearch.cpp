#include "server/config/LineSearch.h"

#include <memory>
#include <utility>

#include "server/config/LineStrategies.h"

namespace {

/// The searches for one state of the file, made at the first search.
struct Searches {
    explicit Searches(std::shared_ptr<const ConfigFile> searched)
        : file(std::move(searched)), assignments(*file), brackets(*file), entries(*file) {}

    std::shared_ptr<const ConfigFile> file;
    AssignmentSearch assignments;
    BracketSearch brackets;
    EntrySearch entries;
};

const Searches& searchesIn(const std::string& path) {
    static const auto none = std::make_shared<const ConfigFile>("");
    static std::unique_ptr<const Searches> last;
    auto file = openConfigFile(path);
    if (!file) file = none;
    if (!last || last->file != file) last = std::make_unique<Searches>(std::move(file));
    return *last;
}

}  // namespace

std::int32_t findLineNumber(const std::string& path, const std::string& key) {
    return searchesIn(path).assignments.first(key);
}

std::int32_t findLineNumberBySubstring(const std::string& path, const std::string& sectionName) {
    return searchesIn(path).brackets.first(sectionName);
}

std::int32_t findLineNumberParam(const std::string& path, const std::string& key,
                                 std::vector<std::int32_t>& usedLineNumbers) {
    const std::int32_t number = searchesIn(path).assignments.first(key, usedLineNumbers);
    usedLineNumbers.push_back(number);
    return number;
}

std::int32_t findLineNumberTagConf(const std::string& path, const std::string& key, int groupFolder,
                                   const std::map<int, int>& groupMap) {
    const bool flat = groupMap.empty() || groupFolder == 0;
    return lineOfEntry(path, key,
                       flat ? EntrySource::flat() : groupWithFolder(groupFolder, groupMap));
}

std::int32_t lineOfEntry(const std::string& path, const std::string& key,
                         const EntrySource& source) {
    return searchesIn(path).entries.first(key, source);
}
