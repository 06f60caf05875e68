#pragma once

#include <string>

#include "lib/rolling2/rol_shared.h"

namespace tools::zrtjournal {

/// Position designation of a message's variable from the controller's dictionaries in shared
/// memory; empty when there are none.
/// @return CP866
[[nodiscard]] std::string designationOf(const SRolMessage& message);

}  // namespace tools::zrtjournal
