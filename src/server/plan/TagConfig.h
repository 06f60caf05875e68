#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/config/EntrySource.h"
#include "server/config/Section.h"
#include "server/plan/TagInfo.h"

/// Without blanks, tabs, newlines and carriage returns at both ends.
std::string trim(std::string_view text);

/// One entry, `<name>, <number>, <access>`; none when its value holds no comma. `missing` is empty.
std::optional<TagInfo> readTagEntry(const KeyValue& entry);

/// The configured attributes of one published type, in the order of the loaded configuration;
/// `missing` is left empty (only the database knows). An entry without a comma is skipped. The same
/// attribute may stand there several times.
/// @param marker  with which the keys begin, with case ("Type1.")
std::vector<TagInfo> readTagConfig(const std::vector<Section>& sections, std::string_view marker,
                                   const EntrySource& source);
