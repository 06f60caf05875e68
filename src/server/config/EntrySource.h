#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "server/config/SectionNames.h"

/// Which sections the attribute entries of the flat tree, or of one group of tags, come from.
class EntrySource {
  public:
    /// The sections named "Attributes".
    [[nodiscard]] static EntrySource flat() { return EntrySource(false, std::nullopt); }

    /// The sections with a group's number; none if another group has taken over the number.
    [[nodiscard]] static EntrySource group(std::optional<int> number) {
        return EntrySource(true, number);
    }

    /// KEPT: a group takes the entries of every section whose number begins with its own number, so
    /// group 1 also has those of group 12. A group without a number counts as -1. Required by the
    /// interface; opcuacheck warns of it.
    [[nodiscard]] bool takes(std::string_view sectionName) const {
        if (!ofGroup_) return isFlatSection(sectionName);
        const std::string text = std::string(kGroupSection) + std::to_string(number_.value_or(-1));
        return sectionName.find(text) != std::string_view::npos;
    }

    /// False if messages about its entries cannot name a line.
    [[nodiscard]] bool hasLines() const { return !ofGroup_ || number_.has_value(); }

  private:
    EntrySource(bool ofGroup, std::optional<int> number) : ofGroup_(ofGroup), number_(number) {}

    bool ofGroup_;
    std::optional<int> number_;
};

/// The group with this folder, as the interface hands groups over: by the number of the folder's
/// node and a map from group numbers to such numbers, read backwards.
[[nodiscard]] inline EntrySource groupWithFolder(int folderId,
                                                 const std::map<int, int>& folderByGroup) {
    for (const auto& [group, folder] : folderByGroup) {
        if (folder == folderId) return EntrySource::group(group);
    }
    return EntrySource::group(std::nullopt);
}

/// Converts the interface's texts and numbers.
/// @param mode  "main": the flat tree; "group": the group with this folder, or with this number
///              when there is no map; anything else: none
[[nodiscard]] inline std::optional<EntrySource> entrySource(
    std::string_view mode, int groupNumber, const std::map<int, int>& folderByGroup) {
    if (mode == "main") return EntrySource::flat();
    if (mode != "group") return std::nullopt;
    return folderByGroup.empty() ? EntrySource::group(groupNumber)
                                 : groupWithFolder(groupNumber, folderByGroup);
}
