#pragma once

#include <open62541/plugin/nodestore.h>

#include <array>
#include <cstddef>
#include <cstdint>

/// The nodes that the library is currently editing, with their temporary access levels.
///
/// The library refuses a write that carries a status or a source time unless the access level also
/// allows writing these (OPC 10000-3, 8.57). Many clients send them with every write; the server
/// accepts and ignores them. Clients must nevertheless read the access level without these two
/// bits, so a writable node has them only while it is held for editing.
///
/// Allocates nothing. For one thread at a time.
class EditedNodes {
  public:
    /// A node was handed out, for editing or not.
    void given(const UA_Node& node) {
        if (count_ > 0) countHolder(node);
    }

    /// A node that was just handed out may be edited. Does not change nodes that are not variables,
    /// are not writable or already have the bits.
    void edit(UA_Node& node);

    /// A holder releases the node and must not use it any more. The level is restored after as many
    /// releases as there were holders from the first edit() on. Holders have no identity: if one
    /// that got the node earlier releases it meanwhile, editing ends too early, but never too late.
    void released(const UA_Node& node) {
        if (count_ > 0) countRelease(node);
    }

    /// Sets in a copy of a node the level that the node has when it is not being edited.
    void restore(const UA_Node& node, UA_Node& copy) const;

  private:
    struct Edited {
        UA_Node* node;
        std::uint32_t holders;
        UA_Byte addedLevel;
    };

    /// The library edits one node at a time. A node beyond this number keeps its level.
    static constexpr std::size_t kMost = 8;

    std::size_t find(const UA_Node& node) const;
    void countHolder(const UA_Node& node);
    void countRelease(const UA_Node& node);

    std::array<Edited, kMost> edited_{};
    std::size_t count_ = 0;
};
