#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// The text of one configuration file, indexed so that thousands of line searches in tens of
/// thousands of lines stay quick. Lines count from 1; every search answers lineCount() + 1 when
/// nothing matches. The views point into the text it owns, so it can be neither copied nor moved.
/// One search at a time.
class ConfigLines {
  public:
    explicit ConfigLines(std::string text);
    ConfigLines(const ConfigLines&) = delete;
    ConfigLines& operator=(const ConfigLines&) = delete;

    [[nodiscard]] std::int32_t lineCount() const noexcept { return lineCount_; }

    /// The first line beginning (after blanks and tabs) with `start` and holding "=", but for the
    /// lines in `excluded`.
    [[nodiscard]] std::int32_t firstAssignment(
        std::string_view start, const std::vector<std::int32_t>& excluded = {}) const;

    /// The first line with a "[" before a "]" that contains `text`.
    [[nodiscard]] std::int32_t firstBracketed(std::string_view text) const;

    /// The first line that is `key`, blanks, "=" and anything, in a section whose name `isWanted`.
    /// The name is the one under which the reader loads the section: as its first heading spells
    /// it.
    [[nodiscard]] std::int32_t firstEntry(
        const std::string& key, const std::function<bool(const std::string&)>& isWanted) const;

  private:
    struct Line {
        std::string_view text;  // without what the search skips at the start
        std::int32_t number;
    };
    struct Entry {
        Line line;
        std::size_t section;  // index in sectionNames_
    };

    void indexLine(std::string_view line, std::int32_t number);
    void indexEntry(const Line& line);
    void openSection(std::string_view heading);
    [[nodiscard]] std::span<const Line> assignmentsFrom(std::string_view start) const;
    void passOver(const std::vector<std::int32_t>& numbers, bool isPassed) const;
    [[nodiscard]] std::int32_t noLine() const noexcept { return lineCount_ + 1; }

    std::string text_;
    std::int32_t lineCount_ = 0;
    std::vector<Line> bracketed_;    // in file order
    std::vector<Line> assignments_;  // sorted by text: lines that begin alike are neighbours
    // By line number; all 0 between two searches. Of bits, no sanitizer would see the bounds.
    mutable std::vector<char> isPassed_;
    std::unordered_map<std::string, std::vector<Entry>> entries_;  // by key; in file order
    std::vector<std::string> sectionNames_{""};                    // the last one is open
    std::unordered_map<std::string, std::string> firstSpelling_;   // by the name in lower case
};
