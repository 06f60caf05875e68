#include "server/config/ConfigFile.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <utility>

#include "server/config/IniText.h"

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

// ---- Indexing ----------------------------------------------------------------------------------

namespace {

std::string nameKey(std::string_view section, std::string_view key) {
    return lowered(section).append(1, '\n').append(lowered(key));
}

}  // namespace

ConfigFile::ConfigFile(std::string bytes, bool readable)
    : bytes_(std::move(bytes)), readable_(readable) {
    splitLines();
    const auto count = static_cast<std::int32_t>(lines_.size());
    for (std::int32_t number = 1; number <= count && nulLine_ == 0; ++number) {
        indexLine(seenLine(number), number);
    }
    for (const Heading& heading : headings_) {
        firstHeading_.try_emplace(lowered(heading.name), heading.line);
    }
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        entriesByName_[nameKey(entries_[i].section, entries_[i].key)].push_back(i);
    }
}

void ConfigFile::splitLines() {
    const std::string_view all = bytes_;
    for (std::size_t begin = 0; begin < all.size();) {
        const std::size_t end = std::min(all.find('\n', begin), all.size());
        lines_.push_back(all.substr(begin, end - begin));
        begin = end + 1;
    }
}

void ConfigFile::indexLine(std::string_view line, std::int32_t number) {
    if (const auto nul = line.find('\0'); nul != std::string_view::npos) {
        nulLine_ = number;
        line = line.substr(0, nul);
    }
    // To the reader every carriage return also ends a line.
    for (bool more = true; more;) {
        const auto end = line.find('\r');
        readLine(line.substr(0, end), number);
        more = end != std::string_view::npos;
        if (more) line.remove_prefix(end + 1);
    }
}

void ConfigFile::readLine(std::string_view line, std::int32_t number) {
    const std::string_view text = withoutBlanks(line);
    if (text.empty() || text.front() == ';' || text.front() == '#') return;
    if (text.front() == '[') return readHeading(text, number);
    const auto equals = text.find('=');
    if (equals == std::string_view::npos || equals == 0) {
        ignoredLines_.push_back(number);
        return;
    }
    entries_.push_back({headings_.empty() ? std::string_view() : headings_.back().name,
                        withoutBlanks(text.substr(0, equals)),
                        withoutBlanks(text.substr(equals + 1)), number});
}

void ConfigFile::readHeading(std::string_view line, std::int32_t number) {
    const auto close = line.find(']');
    const bool closed = close != std::string_view::npos;
    headings_.push_back(
        {withoutBlanks(line.substr(1, closed ? close - 1 : close)), number, closed});
}

// ---- Looking up --------------------------------------------------------------------------------

std::string_view ConfigFile::seenLine(std::int32_t line) const {
    if (line < 1 || static_cast<std::size_t>(line) > lines_.size()) return {};
    if (nulLine_ != 0 && line > nulLine_) return {};
    std::string_view text = lines_[static_cast<std::size_t>(line) - 1];
    if (line == 1 && text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    return text;
}

std::vector<const ConfigFile::Entry*> ConfigFile::find(std::string_view section,
                                                       std::string_view key) const {
    std::vector<const Entry*> found;
    if (const auto at = entriesByName_.find(nameKey(section, key)); at != entriesByName_.end()) {
        for (const std::size_t index : at->second) {
            found.push_back(&entries_[index]);
        }
    }
    return found;
}

std::int32_t ConfigFile::lineOf(std::string_view section, std::string_view key) const {
    const auto at = entriesByName_.find(nameKey(section, key));
    return at == entriesByName_.end() ? 0 : entries_[at->second.back()].line;
}

std::int32_t ConfigFile::lineOfSection(std::string_view section) const {
    const auto at = firstHeading_.find(lowered(section));
    return at == firstHeading_.end() ? 0 : at->second;
}

// ---- Opening -----------------------------------------------------------------------------------

namespace {

/// Identifies a file and its state. All zero: there is no such file.
using FileState = std::array<std::int64_t, 7>;

struct OpenedFile {
    FileState state{};
    std::shared_ptr<const ConfigFile> file;
};

FileState stateOf(const std::string& path) {
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

std::shared_ptr<const ConfigFile> readWhole(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) return nullptr;
    std::string bytes;
    std::array<char, 65536> block{};
    do {
        stream.read(block.data(), block.size());
        bytes.append(block.data(), static_cast<std::size_t>(stream.gcount()));
    } while (stream);
    if (stream.bad()) return std::make_shared<ConfigFile>(std::string(), false);
    return std::make_shared<ConfigFile>(std::move(bytes));
}

}  // namespace

std::shared_ptr<const ConfigFile> openConfigFile(const std::string& path) {
    static OpenedFile last;
    const FileState state = stateOf(path);
    if (last.state != state) last = {state, readWhole(path)};
    return last.file;
}
