#include "server/config/LineSearch.h"

#include <sys/stat.h>

#include <array>
#include <fstream>
#include <iterator>
#include <memory>

#include "server/config/ConfigLines.h"

// ---- One reading for all searches --------------------------------------------------------------

namespace {
/// Identifies one file and one state of it. All zero: there is no such file.
using FileState = std::array<std::int64_t, 7>;

struct IndexedFile {
    FileState state{};
    std::unique_ptr<const ConfigLines> lines;
};
}  // namespace

static FileState stateOf(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return {};
    return {static_cast<std::int64_t>(status.st_dev),
            static_cast<std::int64_t>(status.st_ino),
            status.st_size,
            status.st_mtim.tv_sec,
            status.st_mtim.tv_nsec,
            status.st_ctim.tv_sec,
            status.st_ctim.tv_nsec};
}

static std::string readAll(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

static const ConfigLines& linesOf(const std::string& path) {
    static IndexedFile last;
    const FileState state = stateOf(path);
    if (!last.lines || last.state != state) {
        last = {state, std::make_unique<ConfigLines>(readAll(path))};
    }
    return *last.lines;
}

// ---- The searches ------------------------------------------------------------------------------

std::int32_t findLineNumber(const std::string& path, const std::string& key) {
    return linesOf(path).firstAssignment(key);
}

std::int32_t findLineNumberBySubstring(const std::string& path, const std::string& sectionName) {
    return linesOf(path).firstBracketed(sectionName);
}

std::int32_t findLineNumberParam(const std::string& path, const std::string& key,
                                 std::vector<std::int32_t>& usedLineNumbers) {
    const std::int32_t number = linesOf(path).firstAssignment(key, usedLineNumbers);
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
    const ConfigLines& lines = linesOf(path);
    if (!source.hasLines()) return lines.lineCount() + 1;
    return lines.firstEntry(key, [&source](const std::string& name) { return source.takes(name); });
}
