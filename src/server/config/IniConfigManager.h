#pragma once

#include <string>
#include <vector>

#include "server/config/Section.h"

/// The loaded configuration file. Read once at start-up on the main thread; afterwards only read,
/// so that what getSections hands out stays valid until the process ends.
class IniConfigManager {
  public:
    /// The configuration of the process.
    static IniConfigManager& instance();

    /// Loads the file against the schema of ListSections::getInstance(). After a success further
    /// calls answer true and read nothing. A file that cannot be opened is configuration error 1,
    /// from which this never returns. Sections and keys that the schema does not know are reported
    /// (errors 5 and 6) and left out.
    bool loadConfig(const std::string& path);

    /// The sections sorted by name without regard to case; those of one name are merged.
    /// They and their values know their lines.
    [[nodiscard]] const std::vector<Section>& getSections() const noexcept { return sections_; }

    /// The reading itself: appends the accepted sections of `path` to `sections`; reports and does
    /// not return as loadConfig. A file that opens but cannot be read gives no section and no
    /// report.
    /// @return 0
    static int readConfigFile(const std::string& path, std::vector<Section>& sections);

  private:
    bool loaded_ = false;
    std::vector<Section> sections_;
};
