#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/client/session.h"

namespace tools {

/// One value variable of the server, as shown in a line of a list.
struct Item {
    NodeId id;
    std::string tag;        ///< display name of the structure object above it
    std::string attribute;  ///< its own display name
};

/// Which variables a command works on.
struct ItemChoice {
    std::vector<std::string> nodeIds;  ///< "ns=1;s=..."; if given, only these
    std::vector<std::string> filters;  ///< parts of node ids, one must match; empty: all
    std::size_t limit = 0;             ///< how many at most, spread over the folders; 0: all
};

struct ItemList {
    std::vector<Item> items;
    bool complete = true;  ///< false: there are more that were not read
};

/// Called from time to time while a large tree is walked, with the variables seen so far.
using BrowseProgress = std::function<void(std::size_t seen)>;

/// Lists the chosen variables ordered by folder, tag and attribute. With a limit and no filter, it
/// browses no more of the tree than needed, so that a server with a million variables answers as
/// fast as a small one. Filters ignore case.
/// @return the status of the request that failed; BADNODEIDINVALID for a malformed node id
[[nodiscard]] UA_StatusCode listItems(Session& session, const ItemChoice& choice, ItemList& list,
                                      const BrowseProgress& progress = {});

/// Whether the text is a valid node id.
[[nodiscard]] bool isNodeId(const std::string& text);

}  // namespace tools
