#pragma once

#include <string>

#include "tools/client/session.h"
#include "tools/opcuaweb/basics/json.h"

namespace tools::opcuaweb {

/// The children of one node, sorted by their names: {"complete", "nodes": [{"id", "name", "kind", "children"}]}.
/// @param node  a valid node id
/// @return the status of the request that failed, with `found` untouched
[[nodiscard]] UA_StatusCode childrenOf(Session& session, const std::string& node, Json& found);

}  // namespace tools::opcuaweb
