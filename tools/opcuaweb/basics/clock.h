#pragma once

#include <chrono>

namespace tools::opcuaweb {

/// For pauses and deadlines: it never jumps.
using Clock = std::chrono::steady_clock;

}  // namespace tools::opcuaweb
