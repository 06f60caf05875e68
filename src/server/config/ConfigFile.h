#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// The text of a configuration file, indexed once: its lines, and the headings and entries that the
/// reader of ini files finds in them. Lines count from 1, by line feeds, as in all messages. Texts
/// are CP866. The object can be neither copied nor moved, because its views point into the bytes
/// that it owns. Immutable.
class ConfigFile {
  public:
    struct Heading {
        std::string_view name;
        std::int32_t line;
        bool closed;  ///< with "]"; otherwise the reader adds the next line to the name
    };
    struct Entry {
        std::string_view section;  ///< as its own heading spells it; empty before the first one
        std::string_view key;
        std::string_view value;  ///< without blanks at its ends; comments are still in it
        std::int32_t line;
    };

    /// @param readable  false if the file could be opened, but not read to its end
    explicit ConfigFile(std::string bytes, bool readable = true);
    ConfigFile(const ConfigFile&) = delete;
    ConfigFile& operator=(const ConfigFile&) = delete;

    [[nodiscard]] const std::string& bytes() const noexcept { return bytes_; }
    [[nodiscard]] bool isReadable() const noexcept { return readable_; }

    /// Every line without its line feed, however the reader parses it. The text after the last line
    /// feed is a line only if it is not empty.
    [[nodiscard]] const std::vector<std::string_view>& lines() const noexcept { return lines_; }

    [[nodiscard]] const std::vector<Heading>& headings() const noexcept { return headings_; }
    [[nodiscard]] const std::vector<Entry>& entries() const noexcept { return entries_; }
    /// Lines that are neither blank, comment, heading nor entry.
    [[nodiscard]] const std::vector<std::int32_t>& ignoredLines() const noexcept {
        return ignoredLines_;
    }
    /// Line of the first NUL byte, after which the reader sees nothing; 0 without one.
    [[nodiscard]] std::int32_t nulLine() const noexcept { return nulLine_; }
    /// The part of a line that the reader sees: without a byte order mark, and empty after the line
    /// with the NUL byte. Empty for a line that does not exist.
    [[nodiscard]] std::string_view seenLine(std::int32_t line) const;

    /// The entries of a key, in file order; names are compared as the reader does (lowered). The
    /// value of the last one counts.
    [[nodiscard]] std::vector<const Entry*> find(std::string_view section,
                                                 std::string_view key) const;
    /// Line of the last of them, 0 without one.
    [[nodiscard]] std::int32_t lineOf(std::string_view section, std::string_view key) const;
    /// Line of the section's first heading, 0 without one.
    [[nodiscard]] std::int32_t lineOfSection(std::string_view section) const;

  private:
    void splitLines();
    void indexLine(std::string_view line, std::int32_t number);
    void readLine(std::string_view line, std::int32_t number);
    void readHeading(std::string_view line, std::int32_t number);

    std::string bytes_;
    bool readable_;
    std::vector<std::string_view> lines_;
    std::vector<Heading> headings_;
    std::vector<Entry> entries_;
    std::vector<std::int32_t> ignoredLines_;
    std::int32_t nulLine_ = 0;
    std::unordered_map<std::string, std::int32_t> firstHeading_;  // line, by lowered name
    std::unordered_map<std::string, std::vector<std::size_t>> entriesByName_;
};

/// The current file. It is read and indexed again only if the path differs or the file has changed
/// since; until then all callers share one object. Main thread.
/// @return null if the file cannot be opened; without bytes if it cannot be read to its end
[[nodiscard]] std::shared_ptr<const ConfigFile> openConfigFile(const std::string& path);
