#pragma once

#include <cstddef>

#include "sim/memory/database_memory.h"
#include "sim/plant/boiler_house.h"

namespace sim {

/// The discrete outputs (DO) of one house in one controller cycle: the current data, which clients
/// write, become the current values, the field OUT and the command to the drive. A drive whose
/// command has no variable keeps its initial command.
void driveOutputs(const DatabaseMemory& memory, std::size_t house, const BoilerHouse& process,
                  HouseInputs& inputs);

/// Sets the current data of all outputs to the commands that the plant starts with.
void presetOutputs(const DatabaseMemory& memory);

}  // namespace sim
