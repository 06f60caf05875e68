#pragma once

#include <string>
#include <vector>

#include "tools/client/item_list.h"
#include "tools/opcuaview/exit_status.h"

// --pen: pens are named by a part of their node id or name.
namespace tools::opcuaview {

/// The pens whose node id or name contains the text, ignoring case; all for an empty text.
[[nodiscard]] std::vector<const Item*> matchingPens(const std::vector<Item>& pens,
                                                    const std::string& text);

/// The pens of the server. A failure is reported on standard error.
[[nodiscard]] ExitStatus readPens(Session& session, std::vector<Item>& pens);

/// The pen that the text names. If there is none or more than one, that is reported on standard error.
/// @param pen  receives it; null otherwise
[[nodiscard]] ExitStatus choosePen(const std::vector<Item>& pens, const std::string& text,
                                   const Item*& pen);

}  // namespace tools::opcuaview
