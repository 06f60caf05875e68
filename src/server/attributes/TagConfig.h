#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/attributes/TagInfo.h"
#include "server/config/Section.h"

/// Without blanks, tabs, newlines and carriage returns at both ends.
std::string trim(std::string_view text);

/// Number of the group whose folder has this numeric node id: the map (group number -> folder id)
/// read backwards. An id that it does not hold is -1, for no group; without a map the id is taken
/// for the group number itself.
int groupNumberOfFolder(int groupFolder, const std::map<int, int>& groupMap);

/// One entry, `<name>, <number>, <access>`; none when its value holds no comma. `missing` is empty.
std::optional<TagInfo> readTagEntry(const KeyValue& entry);

/// The configured attributes of one published type, in the order of the loaded configuration;
/// `missing` is left empty (only the database knows).
///
/// @param marker  with which the keys begin, with case ("Type1.")
/// @param mode    "main": the sections named "Attributes"; "group": every section whose name
///                contains "Attributes_Group" and the group's number; anything else: no section
/// @param groupNumber  numeric id of the group's folder; only used in mode "group"
///
/// An entry without a comma is skipped. The same attribute may stand there several times.
std::vector<TagInfo> readTagConfig(const std::vector<Section>& sections, std::string_view marker,
                                   std::string_view mode, int groupNumber,
                                   const std::map<int, int>& groupMap);
