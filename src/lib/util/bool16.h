#pragma once

#include <cstdint>

/// Truth value of the controller's libraries: 1 success or set, 0 failure or unset. Sixteen bits
/// wide: required by the interface.
using BOOL = std::int16_t;
