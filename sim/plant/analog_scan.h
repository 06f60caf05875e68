#pragma once

#include <cstddef>

#include "sim/memory/database_memory.h"
#include "sim/plant/boiler_house.h"
#include "sim/plant/sensor_fault.h"

namespace sim {

/// The analog inputs (VA) of one house in one controller cycle: measures the process into the
/// current data, makes current values of them, and shows both in the passports.
///
/// Bit 0 of ZAPRET takes an input off the scan: its current data stay as a client wrote them, and
/// its quality is uncertain. A broken sensor first sticks (uncertain), then its line breaks (bad:
/// the data fall below the scale, the value stays).
///
/// @param house  number of the house, from 0; the last one has only the variables left in the table
void scanAnalogs(const DatabaseMemory& memory, std::size_t house, BoilerHouse& process,
                 const SensorFault& fault, float seconds);

}  // namespace sim
