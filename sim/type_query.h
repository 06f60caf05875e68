#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "sim/memory/database_memory.h"

namespace sim {

using Request = std::array<std::byte, 20>;
using Answer = std::array<std::byte, 40>;

/// What the database process answers to a request.
///
/// The type query (command 0x1100) walks the types: it names the type answered last, 0 at first,
/// and gets the next one with its count, also when that is 0. After the last type the answer has a
/// code that is no type and the count 0. Every other request is answered with zeros, so that no
/// sender waits for ever.
[[nodiscard]] Answer answerTo(const Request& request, const Counts& counts);

}  // namespace sim
