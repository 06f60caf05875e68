#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "server/config/EntrySource.h"

// Which line of the configuration file a message names. Lines count from 1. When nothing matches
// the answer is the number of lines plus 1, hence 1 for a file that cannot be read. Names are CP866,
// compared with case. All ask the file as openConfigFile gives it, so it is read and indexed once;
// how each looks at its lines: LineStrategies.h. Main thread.

/// The first line that begins (after blanks and tabs) with the key and holds "=". A longer key that
/// begins with the searched one matches too.
[[nodiscard]] std::int32_t findLineNumber(const std::string& path, const std::string& key);

/// The first line with "[" somewhere before "]" that contains the section's name.
[[nodiscard]] std::int32_t findLineNumberBySubstring(const std::string& path,
                                                     const std::string& sectionName);

/// As findLineNumber, but lines in `usedLineNumbers` are passed over; the answer is appended to
/// them, so that repeated keys are found at successive lines.
[[nodiscard]] std::int32_t findLineNumberParam(const std::string& path, const std::string& key,
                                               std::vector<std::int32_t>& usedLineNumbers);

/// The first line of an attribute entry, `key` and "=", inside the sections that the entry was
/// taken from.
[[nodiscard]] std::int32_t lineOfEntry(const std::string& path, const std::string& key,
                                       const EntrySource& source);

/// The same for a group as the interface hands it over.
/// @param groupFolder  number of the group's folder node; 0 for the flat tree
/// @param groupMap     group number -> number of its folder node; empty for the flat tree. A folder
///                     that is not in it has no section.
[[nodiscard]] std::int32_t findLineNumberTagConf(const std::string& path, const std::string& key,
                                                 int groupFolder,
                                                 const std::map<int, int>& groupMap);
