#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "server/attributes/TagLists.h"
#include "server/config/Section.h"

/// One group of tags, as a configuration section whose name contains "Attributes_Group" makes it.
struct TagGroup {
    int number;              ///< from the section's name; -1 when it cannot be read
    int folderId;            ///< numeric node id of its folder
    std::string folderName;  ///< UTF-8
    TagLists lists;          ///< its tags
};

/// The groups in the order of the loaded sections, which is the order of their folder ids.
std::vector<TagGroup> readTagGroups(const std::vector<Section>& sections);

/// Group number -> folder id, as readTagConfig and findLineNumberTagConf want it. Of several groups
/// with one number the last one is in it; the others' folders have no attributes then.
std::map<int, int> groupMapOf(const std::vector<TagGroup>& groups);

/// Which groups a tag is in, answered in time that does not grow with lists or groups. The tags of
/// a kind are asked for in ascending order, each once.
class GroupMembership {
  public:
    explicit GroupMembership(const std::vector<TagGroup>& groups);

    /// Folder ids in ascending order; valid until the next call.
    const std::vector<int>& foldersOf(VariableType kind, int tagNumber);

  private:
    struct OfKind {
        std::vector<int> everyTag;                // folders of groups that list all tags
        std::vector<std::pair<int, int>> listed;  // tag number, folder id; sorted
        std::size_t next = 0;                     // in listed, of the tag to be asked for
    };

    std::array<OfKind, kKinds.size()> kinds_;
    std::vector<int> answer_;
};
