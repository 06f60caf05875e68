#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace opcuacheck {

/// The configuration file as its reader takes it apart, with the lines that the loaded sections
/// have lost. Lines count from 1, by line feeds, as everywhere in the server's messages. Texts are
/// CP866. Immutable.
class ConfigText {
  public:
    struct Heading {
        std::string name;
        std::int32_t line;
        bool closed;  ///< with "]"; otherwise the reader makes nonsense of it
    };
    struct Entry {
        std::string section;  ///< as its own heading spells it; empty before the first one
        std::string key;
        std::string value;  ///< without blanks at its ends; comments are still in it
        std::int32_t line;
    };

    explicit ConfigText(const std::string& bytes);

    [[nodiscard]] const std::vector<Heading>& headings() const noexcept { return headings_; }
    [[nodiscard]] const std::vector<Entry>& entries() const noexcept { return entries_; }
    /// Lines that are neither blank, comment, heading nor entry.
    [[nodiscard]] const std::vector<std::int32_t>& ignoredLines() const noexcept {
        return ignoredLines_;
    }
    /// Line of the first NUL byte, behind which the reader sees nothing; 0 without one.
    [[nodiscard]] std::int32_t nulLine() const noexcept { return nulLine_; }

    /// The entries of a key, in file order; names are compared without regard to the case of Latin
    /// letters, as the reader does. The last one is the one whose value counts.
    [[nodiscard]] std::vector<const Entry*> find(std::string_view section,
                                                 std::string_view key) const;
    /// Line of the last of them, 0 without one.
    [[nodiscard]] std::int32_t lineOf(std::string_view section, std::string_view key) const;
    /// Line of the section's first heading, 0 without one.
    [[nodiscard]] std::int32_t lineOfSection(std::string_view section) const;

    /// A line's text in UTF-8, control characters shown as blanks; empty for a line that is not
    /// there.
    [[nodiscard]] std::string lineUtf8(std::int32_t line) const;

  private:
    void readLine(std::string_view line, std::int32_t number);
    void readHeading(std::string_view line, std::int32_t number);

    std::vector<std::string> lines_;
    std::vector<Heading> headings_;
    std::vector<Entry> entries_;
    std::vector<std::int32_t> ignoredLines_;
    std::int32_t nulLine_ = 0;
    std::unordered_map<std::string, std::vector<std::size_t>> entriesByName_;
};

/// With the Latin capitals made small; Cyrillic letters keep their case, as for the reader.
[[nodiscard]] std::string lowered(std::string_view text);

/// CP866 as UTF-8, control characters shown as blanks.
[[nodiscard]] std::string shown(std::string_view cp866);

}  // namespace opcuacheck
