#pragma once

#include <cstddef>

#include "sim/memory/database_memory.h"
#include "sim/plant/boiler_house.h"

namespace sim {

/// The manual inputs (HI) of one house in one controller cycle.
///
/// Numbers: a client's write changes the value array; the value is limited as the passport says and
/// shown there. Booleans: a client writes the passport's own field, which becomes the value.
/// Strings exist only in the passport. A NaN is replaced by the last value.
void takeManualInputs(const DatabaseMemory& memory, std::size_t house, HouseInputs& inputs);

/// Sets the values of all manual inputs to those of their passports.
void presetManualInputs(const DatabaseMemory& memory);

/// A manual input's value; `missing` when the table does not contain it.
[[nodiscard]] float manualInput(const DatabaseMemory& memory, std::size_t house, std::size_t input,
                                float missing);

}  // namespace sim
