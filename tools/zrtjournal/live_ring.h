#pragma once

#include <vector>

#include "lib/rolling2/rol_shared.h"

namespace zrtjournal {

/// What the journal in shared memory holds at one moment.
struct RingCopy {
    int error = 0;  ///< errno why there is none to be read; ENOENT: no journal
    int id = -1;    ///< of the ring; another one after the journal was made anew
    std::vector<SRolMessage> messages;  ///< whole ones, oldest first
};

/// Copies the journal without its lock and without changing anything, while others go on posting.
[[nodiscard]] RingCopy copyRing();

}  // namespace zrtjournal
