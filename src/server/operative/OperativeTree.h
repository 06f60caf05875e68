#pragma once

#include <string>
#include <vector>

#include "server/config/Section.h"
#include "server/opcua/AddressSpace.h"
#include "server/operative/StructureItems.h"

/// The flat tree: a folder for each published type below "Operative", and in it the structures of
/// all tags that the section "Attributes" lists. Main thread, before the server runs.
class OperativeTree {
  public:
    /// @param items     makes the value variables, also of other trees; not owned
    /// @param sections  the loaded configuration; not owned
    OperativeTree(const AddressSpace& space, StructureItems& items,
                  const std::vector<Section>& sections)
        : space_(space), items_(items), sections_(sections) {}

    /// Builds the whole tree.
    /// @param applicationName  UTF-8
    /// @return Good unless the "Operative" folder could not be made; failures of single tags are
    ///         logged
    UA_StatusCode build(const std::string& applicationName);

    /// Adds one tag's structure object and its value variables, below the folder of its type.
    /// @param prefix  path prefix of the item ids
    /// @return the status of the structure's add, or of its items (the structure is then removed)
    UA_StatusCode addStructure(UARTEXVariable& variable, int tagNumber, const std::string& prefix);

  private:
    void addFolders(const std::string& applicationName);
    void publishListedTags(const std::string& prefix);
    void removeUnusedRVFolders();

    AddressSpace space_;
    StructureItems& items_;
    const std::vector<Section>& sections_;
};
