#pragma once

#include <string>
#include <vector>

#include "server/config/Section.h"

/// The loaded configuration file. Loaded once at start-up on the main thread and constant
/// afterwards, so the result of getSections stays valid until the process ends.
class IniConfigManager {
  public:
    /// The configuration of the process.
    static IniConfigManager& instance();

    /// Loads the file against the schema of ListSections::getInstance(). After a success further
    /// calls return true and read nothing. If the file cannot be opened, this reports configuration
    /// error 1 and never returns. Sections and keys that the schema does not know are reported
    /// (errors 5 and 6) and left out.
    bool loadConfig(const std::string& path);

    /// The sections sorted by name, ignoring case; sections of the same name are merged. Sections
    /// and values have their line numbers.
    [[nodiscard]] const std::vector<Section>& getSections() const noexcept { return sections_; }

    /// The reading itself: appends the accepted sections of `path` to `sections`. Reports errors as
    /// loadConfig does, and does not return if the file cannot be opened. A file that opens but
    /// cannot be read gives no section and no report.
    /// @return 0
    static int readConfigFile(const std::string& path, std::vector<Section>& sections);

  private:
    bool loaded_ = false;
    std::vector<Section> sections_;
};
