#pragma once

#include <cstdint>

/// Truth value of the controller's libraries: 1 success or set, 0 failure or unset. Sixteen bits
/// wide, because it is a field type of records that other programs read.
using BOOL = std::int16_t;
