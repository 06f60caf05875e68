#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "server/config/Section.h"
#include "server/kinds/Kinds.h"

// Numbers and names of the folders of the address space, for the server, which makes them, and for
// tools that show in advance what it will make. Texts are UTF-8.

// Numeric node ids in the server's namespace. The folders of the published types lie between them
// (PublishedType::folderId); those of the groups follow, in the order of their sections.
inline constexpr std::uint32_t kOperativeFolder = 6;
inline constexpr std::uint32_t kHistoricalFolder = 7;
inline constexpr std::uint32_t kApplicationFolder = 8;
inline constexpr std::uint32_t kFirstGroupFolder = 12;

/// Prefix of the ids of all value variables of the operative trees: "Operative", or
/// "<application>.Operative" when the application has a name.
std::string operativePrefix(std::string_view applicationName);
/// The same for historical nodes: "Historical".
std::string historicalPrefix(std::string_view applicationName);

/// Name of a group's folder: its configured name, unchanged, or "Group_<number>".
std::string groupFolderName(const Section& section);

/// The part of a group in the ids of its value variables: ".<name>.".
std::string groupText(std::string_view groupName);

/// The part of a grouped value variable's id before the structure id.
/// @param groupText  of its group
///
/// KEPT: for manual inputs the name of their type's folder replaces the group's, and there is no
/// dot before it: "Operative50_RVV.". Required by the interface.
std::string groupItemPrefix(const std::string& operativePrefix, const PublishedType& published,
                            std::string_view groupText);

/// Name of a plotter's folder, which is its node id too: the configured name, or "Plotter_<number>"
/// when that is empty.
std::string plotterFolderName(int plotter, const std::string& configuredNameCp866);

/// "R2_P5.AV_17": plotter 2, pen 5, which records AV 17.
/// @param kindWord  of the recorded variable, see penKindWord
std::string historyTagName(int plotter, int pen, int variableNum, std::string_view kindWord);

/// Word for the kind of variable that a pen records, which the trend system numbers as VariableType
/// does; empty for any other number.
std::string_view penKindWord(int variableKind);

/// How a pen's node is identified. KEPT: if all pens of a plotter are published without a list,
/// their ids are the tag names alone; listed pens have their whole path. Required by the interface.
struct PenIds {
    std::string nodeId;
    std::string description;
};
PenIds penIds(bool listed, const std::string& historicalPrefix, const std::string& plotterFolder,
              const std::string& tagName);
