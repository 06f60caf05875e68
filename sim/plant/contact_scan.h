#pragma once

#include <cstddef>

#include "sim/memory/database_memory.h"
#include "sim/plant/boiler_house.h"
#include "sim/plant/sensor_fault.h"

namespace sim {

/// The discrete inputs (DI) of one house in one controller cycle: contacts into the current data,
/// states (inverted where INVERS says so) into the current values and the passports. Bit 1 of
/// STATUS1 takes an input off the scan: its current data stay as a client wrote them.
void scanContacts(const DatabaseMemory& memory, std::size_t house, const BoilerHouse& process,
                  const SensorFault& fault);

}  // namespace sim
