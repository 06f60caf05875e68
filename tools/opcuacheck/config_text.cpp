#include "tools/opcuacheck/config_text.h"

#include <algorithm>

#include "server/plan/TagConfig.h"
#include "server/text/ToUTF8Converter.h"

namespace opcuacheck {

std::string lowered(std::string_view text) {
    std::string low(text);
    for (char& c : low) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return low;
}

std::string shown(std::string_view cp866) {
    std::string plain(cp866);
    std::ranges::replace_if(
        plain, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }, ' ');
    return ToUTF8Converter::convertCP866ToUtf8_manual(plain);
}

static std::string nameKey(std::string_view section, std::string_view key) {
    return lowered(section).append(1, '\n').append(lowered(key));
}

ConfigText::ConfigText(const std::string& bytes) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    std::string_view rest = bytes;
    if (rest.starts_with(kByteOrderMark)) rest.remove_prefix(kByteOrderMark.size());

    std::int32_t number = 0;
    while (!rest.empty() && nulLine_ == 0) {
        std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        lines_.emplace_back(line);
        ++number;
        if (const auto nul = line.find('\0'); nul != std::string_view::npos) {
            nulLine_ = number;
            line = line.substr(0, nul);
        }
        // To the reader a carriage return ends a line too, wherever it stands.
        for (bool more = true; more;) {
            const auto end = line.find('\r');
            readLine(line.substr(0, end), number);
            more = end != std::string_view::npos;
            if (more) line.remove_prefix(end + 1);
        }
    }
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        entriesByName_[nameKey(entries_[i].section, entries_[i].key)].push_back(i);
    }
}

void ConfigText::readLine(std::string_view line, std::int32_t number) {
    const std::string text = trim(line);
    if (text.empty() || text.front() == ';' || text.front() == '#') return;
    if (text.front() == '[') return readHeading(text, number);
    const auto equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        ignoredLines_.push_back(number);
        return;
    }
    const std::string_view all = text;
    entries_.push_back({headings_.empty() ? "" : headings_.back().name, trim(all.substr(0, equals)),
                        trim(all.substr(equals + 1)), number});
}

void ConfigText::readHeading(std::string_view line, std::int32_t number) {
    const auto close = line.find(']');
    const bool closed = close != std::string_view::npos;
    headings_.push_back({trim(line.substr(1, closed ? close - 1 : close)), number, closed});
}

std::vector<const ConfigText::Entry*> ConfigText::find(std::string_view section,
                                                       std::string_view key) const {
    std::vector<const Entry*> found;
    if (const auto at = entriesByName_.find(nameKey(section, key)); at != entriesByName_.end()) {
        for (const std::size_t index : at->second) {
            found.push_back(&entries_[index]);
        }
    }
    return found;
}

std::int32_t ConfigText::lineOf(std::string_view section, std::string_view key) const {
    const auto at = entriesByName_.find(nameKey(section, key));
    return at == entriesByName_.end() ? 0 : entries_[at->second.back()].line;
}

std::int32_t ConfigText::lineOfSection(std::string_view section) const {
    const std::string wanted = lowered(section);
    const auto found = std::ranges::find_if(
        headings_, [&](const Heading& heading) { return lowered(heading.name) == wanted; });
    return found == headings_.end() ? 0 : found->line;
}

std::string ConfigText::lineUtf8(std::int32_t line) const {
    if (line < 1 || static_cast<std::size_t>(line) > lines_.size()) return {};
    return shown(trim(lines_[static_cast<std::size_t>(line) - 1]));
}

}  // namespace opcuacheck
