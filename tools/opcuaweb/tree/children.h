#pragma once

#include <optional>
#include <string>

#include "tools/client/session.h"
#include "tools/opcuaweb/basics/json.h"

namespace tools::opcuaweb {

/// The children of one node, sorted by their names: {"complete", "nodes": [{"id", "name", "kind", "children"}]}.
/// @param node  a valid node id
/// @return nothing if the connection failed
[[nodiscard]] std::optional<Json> childrenOf(Session& session, const std::string& node);

}  // namespace tools::opcuaweb
