#pragma once

#include <array>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "server/config/EntrySource.h"
#include "server/config/Section.h"
#include "server/opcua/AddressSpace.h"
#include "server/operative/VarContext.h"
#include "server/plan/ItemPlan.h"

class UARTEXVariable;

/// Makes the value variables below the structures of tags. The configuration of each type is
/// evaluated once and applied to all of its tags. Main thread, before the server runs.
class StructureItems {
  public:
    /// Where the entries of a structure come from.
    struct Source {
        EntrySource entries;
        int groupFolder = 0;  ///< number of the group's folder; 0: the flat tree
    };

    /// @param contexts  the context of each variable is appended; not owned
    StructureItems(const AddressSpace& space, VarContexts& contexts)
        : space_(space), contexts_(&contexts) {}

    /// Adds the value variables of one tag below the node with the string id `parentId`.
    /// @param itemPrefix  all of an item's id that stands before the structure id
    /// @return the status of the last add; a later success hides an earlier failure
    UA_StatusCode add(UARTEXVariable& variable, int tagNumber, const std::string& parentId,
                      const std::string& itemPrefix, const std::vector<Section>& sections,
                      const Source& source);

    /// Whether the making of a value variable was attempted for manual inputs with this
    /// getRVType().
    [[nodiscard]] bool triedRVType(int rvType) const {
        return rvTried_[static_cast<std::size_t>(rvType)];
    }

  private:
    const ItemPlan& planOf(const PublishedType& published, const std::vector<Section>& sections,
                           const Source& source);

    AddressSpace space_;
    VarContexts* contexts_;
    std::map<std::pair<unsigned, int>, ItemPlan> plans_;  // by folder of the type and of the group
    std::array<bool, 3> rvTried_{};
};
