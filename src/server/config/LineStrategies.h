#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "server/config/ConfigFile.h"
#include "server/config/EntrySource.h"

// The searches for the line that a message names. Each one is indexed, so that thousands of
// searches in tens of thousands of lines stay quick, and returns the number of lines plus 1 if
// nothing matches. They do not own the file, which must outlive them.
//
// KEPT: every search treats the lines in its own way, and none as the reader does: comments and
// text after a NUL byte count, a byte order mark belongs to the first line, and a carriage return
// does not end a line. Required by the interface; opcuacheck also names the reader's line.

/// A line without what the search skips at its start.
struct SearchedLine {
    std::string_view text;
    std::int32_t number;
};

/// Lines that contain "="; leading blanks and tabs are skipped. One search at a time.
class AssignmentSearch {
  public:
    explicit AssignmentSearch(const ConfigFile& file);

    /// The first line that begins with `start`, except for the lines in `excluded`.
    [[nodiscard]] std::int32_t first(std::string_view start,
                                     const std::vector<std::int32_t>& excluded = {}) const;

  private:
    [[nodiscard]] std::span<const SearchedLine> linesFrom(std::string_view start) const;
    void passOver(const std::vector<std::int32_t>& numbers, bool isPassed) const;

    std::int32_t noLine_;
    std::vector<SearchedLine> lines_;  // sorted by text: lines that begin alike are neighbours
    // By line number; all 0 between two searches. Of bits, no sanitizer would see the bounds.
    mutable std::vector<char> isPassed_;
};

/// Lines with a "[" before a "]"; leading blanks and tabs are skipped.
class BracketSearch {
  public:
    explicit BracketSearch(const ConfigFile& file);

    /// The first line that contains `text`.
    [[nodiscard]] std::int32_t first(std::string_view text) const;

  private:
    std::int32_t noLine_;
    std::vector<SearchedLine> lines_;
};

/// Entries and their sections.
class EntrySearch {
  public:
    explicit EntrySearch(const ConfigFile& file);

    /// The first line that is `key`, blanks, "=" and anything, in a section that `source` takes.
    /// The section's name is the one under which the reader loads it: as its first heading spells
    /// it.
    [[nodiscard]] std::int32_t first(const std::string& key, const EntrySource& source) const;

  private:
    struct Entry {
        SearchedLine line;
        std::size_t section;  // index in sectionNames_
    };

    void index(const SearchedLine& line);
    void openSection(std::string_view heading);

    std::int32_t noLine_;
    std::unordered_map<std::string, std::vector<Entry>> entries_;  // by key; in file order
    std::vector<std::string> sectionNames_{""};                    // the last one is open
    std::unordered_map<std::string, std::string> firstSpelling_;   // by the lowered name
};
