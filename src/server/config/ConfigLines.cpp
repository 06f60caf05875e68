#include "server/config/ConfigLines.h"

#include <algorithm>
#include <utility>

// ---- Building ----------------------------------------------------------------------------------

static std::string_view withoutLeading(std::string_view text, const char* skipped) {
    text.remove_prefix(std::min(text.find_first_not_of(skipped), text.size()));
    return text;
}

static std::string_view withoutTrailing(std::string_view text, const char* skipped) {
    return text.substr(0, text.find_last_not_of(skipped) + 1);
}

ConfigLines::ConfigLines(std::string text) : text_(std::move(text)) {
    // What follows the last line feed is a line only when it is not empty.
    const std::string_view all = text_;
    for (std::size_t begin = 0; begin < all.size();) {
        const std::size_t end = std::min(all.find('\n', begin), all.size());
        indexLine(all.substr(begin, end - begin), ++lineCount_);
        begin = end + 1;
    }
    std::ranges::sort(assignments_, {}, &Line::text);
    isPassed_.resize(static_cast<std::size_t>(lineCount_) + 1);
}

void ConfigLines::indexLine(std::string_view line, std::int32_t number) {
    const Line trimmed{withoutLeading(line, " \t"), number};
    const auto open = trimmed.text.find('[');
    if (open != std::string_view::npos && trimmed.text.find(']', open) != std::string_view::npos) {
        bracketed_.push_back(trimmed);
    }
    if (trimmed.text.find('=') != std::string_view::npos) assignments_.push_back(trimmed);

    indexEntry({withoutLeading(line, " \t\r\n"), number});
}

/// The part of an entry before its first "=", without the blanks there.
static std::string keyPart(std::string_view entry) {
    return std::string(withoutTrailing(entry.substr(0, entry.find('=')), " \t"));
}

void ConfigLines::indexEntry(const Line& line) {
    if (line.text.empty()) return;
    if (line.text.front() == '[') {
        openSection(line.text.substr(1));
    } else if (line.text.find('=') != std::string_view::npos) {
        entries_[keyPart(line.text)].push_back({line, sectionNames_.size() - 1});
    }
}

/// Folds as the reader compares names: ASCII only, Cyrillic letters keep their case.
static std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

/// @param heading  the line behind its "["
void ConfigLines::openSection(std::string_view heading) {
    constexpr const char* kBlanks = " \t\r\n";
    const auto close = heading.find(']');
    std::string name(withoutLeading(heading.substr(0, close), kBlanks));
    if (close == std::string_view::npos) {
        // The reader takes an unclosed heading and the line behind it for one name.
        name += '\n';
    } else {
        name = withoutTrailing(name, kBlanks);
    }
    sectionNames_.push_back(firstSpelling_.emplace(lowerCase(name), name).first->second);
}

// ---- Searching ---------------------------------------------------------------------------------

/// The assignments that begin with `start`.
std::span<const ConfigLines::Line> ConfigLines::assignmentsFrom(std::string_view start) const {
    const auto isBefore = [start](const Line& line) {
        return line.text.substr(0, start.size()) < start;
    };
    const auto begins = [start](const Line& line) { return line.text.starts_with(start); };
    const auto begin = std::partition_point(assignments_.begin(), assignments_.end(), isBefore);
    return {begin, std::partition_point(begin, assignments_.end(), begins)};
}

void ConfigLines::passOver(const std::vector<std::int32_t>& numbers, bool isPassed) const {
    for (const std::int32_t number : numbers) {
        if (number >= 0 && number <= lineCount_)
            isPassed_[static_cast<std::size_t>(number)] = isPassed ? 1 : 0;
    }
}

std::int32_t ConfigLines::firstAssignment(std::string_view start,
                                          const std::vector<std::int32_t>& excluded) const {
    passOver(excluded, true);
    std::int32_t first = noLine();
    for (const Line& line : assignmentsFrom(start)) {
        if (line.number < first && isPassed_[static_cast<std::size_t>(line.number)] == 0)
            first = line.number;
    }
    passOver(excluded, false);
    return first;
}

std::int32_t ConfigLines::firstBracketed(std::string_view text) const {
    for (const Line& line : bracketed_) {
        if (line.text.find(text) != std::string_view::npos) return line.number;
    }
    return noLine();
}

std::int32_t ConfigLines::firstEntry(
    const std::string& key, const std::function<bool(const std::string&)>& isWanted) const {
    const auto sameStart = entries_.find(keyPart(key));
    if (sameStart == entries_.end()) return noLine();
    for (const Entry& entry : sameStart->second) {
        const std::string_view text = entry.line.text;
        if (text.substr(0, key.size()) != key) continue;
        const auto behindKey = withoutLeading(text.substr(key.size()), " \t");
        if (behindKey.substr(0, 1) == "=" && isWanted(sectionNames_[entry.section])) {
            return entry.line.number;
        }
    }
    return noLine();
}
