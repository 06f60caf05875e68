#pragma once

#include "sim/memory/database_memory.h"

namespace sim {

/// Writes the passport records of all variables: the tags of the first boiler house with their own
/// designations, then the same house repeatedly with consecutive designations, up to the counts.
/// Everything else in the records stays zero.
void writePassports(const DatabaseMemory& memory);

}  // namespace sim
