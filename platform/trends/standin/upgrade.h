#pragma once

#include "platform/trends/standin/sqlite_database.h"

namespace trends {

/// Converts an archive of version 1 to the current version, with all its values. Runs inside the
/// caller's transaction; throws ArchiveError.
///
/// Version 1 kept a row for each value that was not in a chunk yet, and its chunks could span any
/// time.
void upgradeFromVersion1(SqliteDatabase& database);

}  // namespace trends
