#pragma once

#include <functional>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "tools/client/session.h"

namespace tools {

/// One value variable of the server, as shown in a line of a list.
struct Item {
    NodeId id;
    std::string tag;        ///< display name of the object or variable above it
    std::string attribute;  ///< its own display name
    /// The object or variable above it; none for a variable of a folder or one that was named.
    /// Shared by all that are below it.
    std::shared_ptr<const NodeId> parent = {};
};

/// Which variables a command works on.
struct ItemChoice {
    std::vector<std::string> nodeIds;  ///< "ns=1;s=..."; if given, only these
    std::vector<std::string> filters;  ///< parts of node ids or names, one must match; empty: all
    std::size_t limit = 0;             ///< how many at most, spread over the folders; 0: all
};

struct ItemList {
    std::vector<Item> items;
    bool complete = true;  ///< false: there are more that were not read
};

/// Called from time to time while a large tree is walked, with the variables seen so far. An
/// exception ends the walk and reaches the caller of `listItems`.
using BrowseProgress = std::function<void(std::size_t seen)>;

/// Lists the chosen variables below the Objects folder, ordered by folder, tag and attribute: those
/// of the server itself, without what the standard's own namespace has there, and without the
/// properties of variables. With a limit and no filter, it browses no more of the tree than needed,
/// so that a server with a million variables answers as fast as a small one. Filters ignore case
/// and look at a variable's node id and its name behind that of its parent, "VA_1 V".
///
/// Trees of other servers may have cycles or no end: nothing is entered twice or deeper than 100
/// levels, and after 5 000 000 nodes the list is incomplete.
/// @return the status of the request that failed; BADNODEIDINVALID for a malformed node id
[[nodiscard]] UA_StatusCode listItems(Session& session, const ItemChoice& choice, ItemList& list,
                                      const BrowseProgress& progress = {});

/// The variables with a history, in the server's order: the pens of the controller's "Historical"
/// folder, on another server the first 100 000 that grant a read of their history.
/// A pen's `tag` is its plotter, on another server what is above it.
[[nodiscard]] UA_StatusCode listPens(Session& session, std::vector<Item>& pens);

/// By name, numbers in names compared as numbers.
void sortByName(std::vector<Child>& children);

/// Whether the node may have children worth browsing; the controller's variables have none.
[[nodiscard]] bool mayHaveChildren(const Session& session, const Child& node);

/// Whether the filter, in lower case, is part of the node id or the name, in any case.
[[nodiscard]] bool matchesFilter(const UA_NodeId& id, const std::string& name,
                                 const std::string& filter);

/// Node ids that were met before. Memory grows with them: at most 5 000 000 are kept.
class SeenNodes {
  public:
    static constexpr std::size_t kMost = 5'000'000;

    /// @return false if it was met before, or if there are too many
    bool add(const UA_NodeId& id);
    [[nodiscard]] bool full() const { return ids_.size() >= kMost; }

  private:
    struct Hash {
        std::size_t operator()(const NodeId& id) const { return UA_NodeId_hash(id.get()); }
    };
    struct Equal {
        bool operator()(const NodeId& a, const NodeId& b) const {
            return UA_NodeId_equal(a.get(), b.get());
        }
    };
    std::unordered_set<NodeId, Hash, Equal> ids_;
};

/// Whether the text is a valid node id.
[[nodiscard]] bool isNodeId(const std::string& text);

}  // namespace tools
