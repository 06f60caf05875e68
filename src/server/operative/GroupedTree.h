#pragma once

#include <string>
#include <vector>

#include "server/config/Section.h"
#include "server/opcua/AddressSpace.h"
#include "server/operative/StructureItems.h"
#include "server/plan/TagGroups.h"

/// The groups: below "Operative" a folder for each section of a group, and in it the structures of
/// the tags that the section lists. Main thread, before the server runs and after the flat tree was
/// built, which makes the parent folder.
class GroupedTree {
  public:
    /// Parameters as in OperativeTree.
    GroupedTree(const AddressSpace& space, StructureItems& items,
                const std::vector<Section>& sections)
        : space_(space), items_(items), sections_(sections) {}

    /// Builds the whole tree.
    /// @param applicationName  UTF-8
    /// @return Good unless the "Operative" folder is missing; failures of single tags are logged
    UA_StatusCode build(const std::string& applicationName);

    /// Adds one tag's structure object and its value variables below the folder of a group; those
    /// of manual inputs below a folder of their type in it, which is made when missing.
    /// @param prefix  path prefix of the item ids
    /// @return the status of the folder, the structure or the items, whichever failed. A tag that
    ///         is already published cannot be published again: its first structure stays as it is.
    UA_StatusCode addStructure(UARTEXVariable& variable, int tagNumber, const std::string& prefix,
                               const TagGroup& group);

  private:
    void publishTags(const std::vector<TagGroup>& groups, const std::string& prefix);

    AddressSpace space_;
    StructureItems& items_;
    const std::vector<Section>& sections_;
};
