#pragma once

#include <open62541/plugin/nodestore.h>

#include <cstdint>
#include <new>
#include <vector>

/// Counts the current holders of each node. The library holds only a few nodes at a time and
/// releases the last one first, so a list searched from its end is faster than a counter in each
/// node. For one thread at a time.
class HeldNodes {
  public:
    /// @return false when there is no memory to count it
    bool add(const UA_Node& node) {
        if (Held* const held = find(node)) {
            ++held->count;
            return true;
        }
        try {
            held_.push_back({&node, 1, false});
        } catch (const std::bad_alloc&) {
            return false;
        }
        return true;
    }

    enum class Removed {
        unknown,       ///< the node was not handed out
        held,          ///< it stays in the store
        lastOfRetired  ///< it was retired, and this was its last holder
    };
    Removed remove(const UA_Node& node) {
        Held* const held = find(node);
        if (held == nullptr) return Removed::unknown;
        if (--held->count != 0) return Removed::held;
        const bool retired = held->retired;
        *held = held_.back();
        held_.pop_back();
        return retired ? Removed::lastOfRetired : Removed::held;
    }

    /// From now on the node exists only for its current holders.
    /// @return false when it has none
    bool retire(const UA_Node& node) {
        Held* const held = find(node);
        if (held != nullptr) held->retired = true;
        return held != nullptr;
    }

  private:
    struct Held {
        const UA_Node* node;
        std::uint32_t count;
        bool retired;
    };

    Held* find(const UA_Node& node) {
        for (auto held = held_.rbegin(); held != held_.rend(); ++held) {
            if (held->node == &node) return &*held;
        }
        return nullptr;
    }

    std::vector<Held> held_;
};
