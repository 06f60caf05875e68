#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/config/EntrySource.h"
#include "server/config/Section.h"
#include "server/plan/TagInfo.h"

/// The text without blanks, tabs, newlines and carriage returns at both ends.
std::string trim(std::string_view text);

/// One entry, `<name>, <number>, <access>`; none when its value has no comma. `missing` is empty.
std::optional<TagInfo> readTagEntry(const KeyValue& entry);

/// The configured attributes of one published type, in the order of the loaded configuration;
/// `missing` is left empty, because only the database knows. An entry without a comma is skipped.
/// An attribute may occur several times.
/// @param marker  prefix of the keys, case-sensitive ("Type1.")
std::vector<TagInfo> readTagConfig(const std::vector<Section>& sections, std::string_view marker,
                                   const EntrySource& source);
