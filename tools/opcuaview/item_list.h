#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/opcuaview/session.h"

namespace opcuaview {

/// One value variable of the server, as a line of a list shows it.
struct Item {
    NodeId id;
    std::string tag;        ///< display name of the structure object above it
    std::string attribute;  ///< its own display name
};

/// Which variables a command works on.
struct ItemChoice {
    std::vector<std::string> nodeIds;  ///< "ns=1;s=..."; when given, these and no others
    std::vector<std::string> filters;  ///< parts of node ids, in any case, one must fit; empty: all
    std::size_t limit = 0;             ///< how many at most, spread over the folders; 0: all
};

struct ItemList {
    std::vector<Item> items;
    bool complete = true;  ///< false: there are more that were not looked at
};

/// Called from time to time while a large tree is walked, with the variables seen so far.
using BrowseProgress = std::function<void(std::size_t seen)>;

/// Lists the chosen variables ordered by folder, tag and attribute. Where the choice names a limit
/// and no filter, no more of the tree is browsed than the limit needs, so that a server with a
/// million variables answers as fast as a small one.
/// @return the status of the request that failed; BADNODEIDINVALID for a malformed node id
[[nodiscard]] UA_StatusCode listItems(Session& session, const ItemChoice& choice, ItemList& list,
                                      const BrowseProgress& progress = {});

/// Whether the text can be read as a node id.
[[nodiscard]] bool isNodeId(const std::string& text);

}  // namespace opcuaview
