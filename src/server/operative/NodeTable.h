#pragma once

#include <open62541/plugin/nodestore.h>

#include <cstddef>
#include <cstdint>
#include <memory>

/// Nodes with texts as identifiers, found by these in one step: slots in one array, each at the
/// place that its hash names or behind it without a free slot between (open addressing). At most
/// three quarters are in use, so that a node costs 21 to 43 bytes.
class NodeTable {
  public:
    struct Slot {
        const UA_Node* node = nullptr;  ///< null: the slot is free
        std::uint32_t hash = 0;
        std::uint32_t uses = 0;  ///< for the table's owner
    };

    NodeTable();

    /// False when there was no memory for the table: nothing may be called then.
    bool isMade() const { return slots_ != nullptr; }

    /// @param id  its identifier is a text
    /// @return null when there is no such node
    Slot* find(const UA_NodeId& id);

    /// Adds a node that is not in the table, with 0 uses. It must keep its place and its id.
    /// Pointers to slots become invalid.
    /// @return null when there is no memory for more
    Slot* add(const UA_Node& node);

    /// Pointers to slots become invalid.
    void remove(const Slot& slot);

  private:
    using Slots = std::unique_ptr<Slot[]>;

    static Slots makeSlots(std::size_t size);
    Slot& place(const Slot& slot);
    bool grow();

    Slots slots_;
    std::size_t mask_;  ///< number of slots, a power of two, less one
    std::size_t used_ = 0;
};
