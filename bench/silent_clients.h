#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace bench {

/// Keeps so many clients connected that ask for megabytes and read none of them, until it is over.
/// The server disconnects them after a while. One that still had something to send notices it, and
/// another one comes; one that had sent everything stays away.
void askWithoutReading(std::uint16_t port, std::size_t connections, const std::atomic_bool& over);

}  // namespace bench
