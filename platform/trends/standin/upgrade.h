#pragma once

#include "platform/trends/standin/sqlite_database.h"

namespace trends {

/// Makes an archive of version 1 one of this version, with all its values. Runs inside the caller's
/// transaction; throws ArchiveError.
///
/// Version 1 kept a row for each value that was in no chunk yet, and its chunks could be of any
/// length in time.
void upgradeFromVersion1(SqliteDatabase& database);

}  // namespace trends
