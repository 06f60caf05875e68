#pragma once

#include "sim/memory/database_memory.h"

namespace sim {

/// Writes the passport records of all variables: the tags of the first boiler house with their own
/// designations, then the same house again and again with running designations, as far as the
/// counts go. Everything else in the records is left zero.
void writePassports(const DatabaseMemory& memory);

}  // namespace sim
