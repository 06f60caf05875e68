#pragma once

#include <vector>

#include "lib/rolling2/rol_shared.h"

namespace tools::zrtjournal {

/// What the journal in shared memory holds at one moment.
struct RingCopy {
    int error = 0;  ///< errno if it cannot be read; ENOENT: no journal
    int id = -1;    ///< of the ring; different after the journal was created again
    std::vector<SRolMessage> messages;  ///< whole ones, oldest first
};

/// Copies the journal without its lock and without changing anything, while others keep posting.
[[nodiscard]] RingCopy copyRing();

}  // namespace tools::zrtjournal
