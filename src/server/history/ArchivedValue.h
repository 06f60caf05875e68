#pragma once

#include <open62541/types.h>

#include "jxotr/opchda.h"

/// Converts a value of the trend archive to the client's form.
///
/// @param timestamps  which of the two times are set; both are the archive's
/// @param value       empty before. Stays empty for a type code other than 3, 4, 5 and 11, and has
///                    only its times when memory ran out. The caller clears it.
void toDataValue(const OPCHDAITEMVALUE& archived, UA_TimestampsToReturn timestamps,
                 UA_DataValue& value) noexcept;
