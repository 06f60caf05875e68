#pragma once

#include <open62541/plugin/nodestore.h>

#include <cstddef>
#include <cstdint>
#include <memory>

/// Hash table of nodes with texts as identifiers. The slots are in one array; an entry is at the
/// place of its hash or after it without a free slot in between (open addressing). Between seven
/// tenths and seven eighths of the slots are in use, so a node costs 18 to 23 bytes.
///
/// Clients and their subscriptions ask for nodes in the same order again and again. So each slot
/// remembers which slot was used after it last time, and the data of the next look-ups is
/// prefetched. A wrong guess only costs time.
class NodeTable {
  public:
    NodeTable();

    /// False when there was no memory for the table: nothing may be called then.
    bool isMade() const { return slots_ != nullptr; }

    /// @param id  its identifier is a text
    /// @return null when there is no such node
    const UA_Node* find(const UA_NodeId& id);

    /// Adds a node that is not in the table. Its address and its id must not change.
    /// @return false when there is no memory for more
    bool add(const UA_Node& node);

    /// Removes a node that is in the table.
    void remove(const UA_Node& node);

    /// Replaces a node in the table by one with the same id.
    void replace(const UA_Node& present, const UA_Node& next);

    /// Calls `visit` with every node; it must not change the table.
    template <class Visit>
    void forEach(Visit visit) const {
        for (std::size_t at = 0; at < size_; ++at)
            if (slots_[at].node != nullptr) visit(*slots_[at].node);
    }

  private:
    struct Slot {
        const UA_Node* node = nullptr;  ///< null: the slot is free
        std::uint32_t hash = 0;
        std::uint32_t next = 0;  ///< index of the slot that was used next
    };
    using Slots = std::unique_ptr<Slot[]>;

    static Slots makeSlots(std::size_t size);
    std::size_t placeOf(std::uint32_t hash) const;
    std::size_t behind(std::size_t at) const { return at + 1 == size_ ? 0 : at + 1; }
    std::size_t slotOf(const UA_NodeId& id, std::uint32_t hash) const;
    void fetchAhead(std::size_t at);
    void place(const Slot& slot);
    bool grow();

    Slots slots_;
    std::size_t size_;
    std::size_t used_ = 0;
    std::size_t last_ = 0;  ///< slot that was used last
};
