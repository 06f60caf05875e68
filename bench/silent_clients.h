#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace bench {

/// Keeps so many clients connected that ask for megabytes and read none of them, until it is over.
/// The server may disconnect them; others come then.
/// @return how many were disconnected
std::size_t askWithoutReading(std::uint16_t port, std::size_t connections,
                              const std::atomic_bool& over);

}  // namespace bench
