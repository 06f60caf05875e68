#pragma once

#include "tests/support/basics.h"

/// Waits until a condition holds, looking every 2 ms.
/// @return false when it does not by the deadline.
template <class Condition>
bool waitUntil(Condition condition,
               std::chrono::milliseconds deadline = std::chrono::milliseconds(10000)) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}
