#include "server/config/LineStrategies.h"

#include <algorithm>

#include "server/config/IniText.h"

namespace {

constexpr std::string_view kSkipped = " \t";

std::int32_t lineBehind(const ConfigFile& file) {
    return static_cast<std::int32_t>(file.lines().size()) + 1;
}

/// The lines without their leading `skipped` that are of the wanted kind.
template <class Predicate>
std::vector<SearchedLine> linesThat(const ConfigFile& file, std::string_view skipped,
                                    Predicate isWanted) {
    std::vector<SearchedLine> wanted;
    std::int32_t number = 0;
    for (const std::string_view line : file.lines()) {
        const SearchedLine searched{withoutLeading(line, skipped), ++number};
        if (isWanted(searched.text)) wanted.push_back(searched);
    }
    return wanted;
}

}  // namespace

// ---- Assignments -------------------------------------------------------------------------------

AssignmentSearch::AssignmentSearch(const ConfigFile& file)
    : noLine_(lineBehind(file)),
      lines_(linesThat(
          file, kSkipped,
          [](std::string_view text) { return text.find('=') != std::string_view::npos; })),
      isPassed_(static_cast<std::size_t>(noLine_)) {
    std::ranges::sort(lines_, {}, &SearchedLine::text);
}

/// The lines that begin with `start`.
std::span<const SearchedLine> AssignmentSearch::linesFrom(std::string_view start) const {
    const auto isBefore = [start](const SearchedLine& line) {
        return line.text.substr(0, start.size()) < start;
    };
    const auto begins = [start](const SearchedLine& line) { return line.text.starts_with(start); };
    const auto begin = std::partition_point(lines_.begin(), lines_.end(), isBefore);
    return {begin, std::partition_point(begin, lines_.end(), begins)};
}

void AssignmentSearch::passOver(const std::vector<std::int32_t>& numbers, bool isPassed) const {
    for (const std::int32_t number : numbers) {
        if (number >= 0 && number < noLine_)
            isPassed_[static_cast<std::size_t>(number)] = isPassed ? 1 : 0;
    }
}

std::int32_t AssignmentSearch::first(std::string_view start,
                                     const std::vector<std::int32_t>& excluded) const {
    passOver(excluded, true);
    std::int32_t first = noLine_;
    for (const SearchedLine& line : linesFrom(start)) {
        if (line.number < first && isPassed_[static_cast<std::size_t>(line.number)] == 0)
            first = line.number;
    }
    passOver(excluded, false);
    return first;
}

// ---- Brackets ----------------------------------------------------------------------------------

BracketSearch::BracketSearch(const ConfigFile& file)
    : noLine_(lineBehind(file)), lines_(linesThat(file, kSkipped, [](std::string_view text) {
          const auto open = text.find('[');
          return open != std::string_view::npos && text.find(']', open) != std::string_view::npos;
      })) {}

std::int32_t BracketSearch::first(std::string_view text) const {
    for (const SearchedLine& line : lines_) {
        if (line.text.find(text) != std::string_view::npos) return line.number;
    }
    return noLine_;
}

// ---- Entries -----------------------------------------------------------------------------------

EntrySearch::EntrySearch(const ConfigFile& file) : noLine_(lineBehind(file)) {
    for (const SearchedLine& line :
         linesThat(file, kIniBlanks, [](std::string_view text) { return !text.empty(); })) {
        index(line);
    }
}

namespace {

/// The part of an entry before its first "=", without the blanks there.
std::string keyPart(std::string_view entry) {
    return std::string(withoutTrailing(entry.substr(0, entry.find('=')), kSkipped));
}

}  // namespace

void EntrySearch::index(const SearchedLine& line) {
    if (line.text.front() == '[') {
        openSection(line.text.substr(1));
    } else if (line.text.find('=') != std::string_view::npos) {
        entries_[keyPart(line.text)].push_back({line, sectionNames_.size() - 1});
    }
}

/// @param heading  the line after its "["
void EntrySearch::openSection(std::string_view heading) {
    const auto close = heading.find(']');
    std::string name(withoutLeading(heading.substr(0, close), kIniBlanks));
    if (close == std::string_view::npos) {
        // The reader takes an unclosed heading and the line after it for one name.
        name += '\n';
    } else {
        name = withoutTrailing(name, kIniBlanks);
    }
    sectionNames_.push_back(firstSpelling_.emplace(lowered(name), name).first->second);
}

std::int32_t EntrySearch::first(const std::string& key, const EntrySource& source) const {
    const auto sameStart = entries_.find(keyPart(key));
    if (sameStart == entries_.end() || !source.hasLines()) return noLine_;
    for (const Entry& entry : sameStart->second) {
        const std::string_view text = entry.line.text;
        if (text.substr(0, key.size()) != key) continue;
        const auto behindKey = withoutLeading(text.substr(key.size()), kSkipped);
        if (behindKey.substr(0, 1) == "=" && source.takes(sectionNames_[entry.section])) {
            return entry.line.number;
        }
    }
    return noLine_;
}
