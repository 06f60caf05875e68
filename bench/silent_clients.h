#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace bench {

/// Keeps `connections` clients connected that request megabytes and read nothing, until `over` is
/// set. The server disconnects each after a minute, and another one then replaces it.
void askWithoutReading(std::uint16_t port, std::size_t connections, const std::atomic_bool& over);

}  // namespace bench
