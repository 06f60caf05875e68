#pragma once

#include <array>
#include <cstddef>

#include "sim/memory/database_memory.h"

namespace sim {

using Request = std::array<std::byte, 20>;
using Answer = std::array<std::byte, 40>;

/// The database process's answer to a request.
///
/// The type query (command 0x1100) walks the types: the request names the last type answered, 0 at
/// first, and the answer has the next one with its count, even if that is 0. After the last type
/// the answer has an unknown type code and the count 0. Every other request is answered with zeros,
/// so that no sender waits forever.
[[nodiscard]] Answer answerTo(const Request& request, const Counts& counts);

}  // namespace sim
