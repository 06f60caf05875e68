#pragma once

#include <open62541/plugin/nodestore.h>

#include <array>
#include <cstddef>
#include <cstdint>

/// The nodes that the library is editing, each with the access level that it has meanwhile.
///
/// The library refuses a write that carries a status or a source time unless the access level
/// allows writing these too (OPC 10000-3, 8.57). Many clients send them with every write; the
/// server accepts and ignores them. Yet clients must read the access level without these two bits,
/// so a writable node has them only while somebody holds it for editing.
///
/// Allocates nothing. For one thread at a time.
class EditedNodes {
  public:
    /// A node was given out, for editing or not.
    void given(const UA_Node& node) {
        if (count_ > 0) countHolder(node);
    }

    /// A node that was just given out may be edited. Nodes that are no variables, are not writable
    /// or have the bits anyway stay as they are.
    void edit(UA_Node& node);

    /// A holder gives the node back, and may not look at it any more. When as many have done so as
    /// got it from the first edit() on, the level is what it was before. Holders have no identity:
    /// one that had the node earlier and gives it back meanwhile ends the editing too early, never
    /// too late.
    void released(const UA_Node& node) {
        if (count_ > 0) countRelease(node);
    }

    /// Gives a copy of a node the level that the node has when nobody edits it.
    void restore(const UA_Node& node, UA_Node& copy) const;

  private:
    struct Edited {
        UA_Node* node;
        std::uint32_t holders;
        UA_Byte addedLevel;
    };

    /// The library edits one node at a time. A further one beyond this keeps its level.
    static constexpr std::size_t kMost = 8;

    std::size_t find(const UA_Node& node) const;
    void countHolder(const UA_Node& node);
    void countRelease(const UA_Node& node);

    std::array<Edited, kMost> edited_{};
    std::size_t count_ = 0;
};
