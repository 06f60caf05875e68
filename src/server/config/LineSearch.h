#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "server/config/EntrySource.h"

// Finds the line of the configuration file that a message names. Lines count from 1. If nothing
// matches, the result is the number of lines plus 1, hence 1 for a file that cannot be read. Names
// are CP866 and case-sensitive. All searches use openConfigFile, so the file is read and indexed
// once; LineStrategies.h describes each search. Main thread.

/// The first line that begins (after blanks and tabs) with the key and contains "=". A longer key
/// that begins with the given one matches too.
[[nodiscard]] std::int32_t findLineNumber(const std::string& path, const std::string& key);

/// The first line with "[" somewhere before "]" that contains the section's name.
[[nodiscard]] std::int32_t findLineNumberBySubstring(const std::string& path,
                                                     const std::string& sectionName);

/// As findLineNumber, but skips the lines in `usedLineNumbers` and appends the result to them, so
/// that repeated keys are found at successive lines.
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
