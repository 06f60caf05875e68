#pragma once

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "server/config/EntrySource.h"
#include "server/config/Section.h"
#include "server/plan/TagLists.h"

/// One group of tags: a configuration section whose name contains "Attributes_Group".
struct TagGroup {
    EntrySource entries;     ///< of its tags
    int folderId;            ///< numeric node id of its folder
    std::string folderName;  ///< UTF-8
    TagLists lists;          ///< its tags
};

/// The groups in the order of the loaded sections, which is the order of their folder ids. If
/// several groups have the same number, the last one gets its entries and the others have none.
std::vector<TagGroup> readTagGroups(const std::vector<Section>& sections);

/// Finds the groups of a tag in a time that does not depend on the number of lists or groups. The
/// tags of a kind must be asked for in ascending order, each once.
class GroupMembership {
  public:
    /// @param groups  not copied
    explicit GroupMembership(const std::vector<TagGroup>& groups);

    /// In the order of the groups; valid until the next call.
    const std::vector<const TagGroup*>& groupsOf(VariableType kind, int tagNumber);

  private:
    struct OfKind {
        std::vector<const TagGroup*> everyTag;                // groups that list all tags
        std::vector<std::pair<int, const TagGroup*>> listed;  // by tag number, then group
        std::size_t next = 0;  // in listed, of the tag to be asked for
    };

    std::array<OfKind, kKinds.size()> kinds_;
    std::vector<const TagGroup*> answer_;
};
