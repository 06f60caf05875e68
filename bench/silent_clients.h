#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace bench {

/// Keeps so many clients connected that ask for megabytes and read none of them, until it is over.
/// The server disconnects each after a minute, and another one comes then.
void askWithoutReading(std::uint16_t port, std::size_t connections, const std::atomic_bool& over);

}  // namespace bench
