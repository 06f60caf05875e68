#pragma once

#include <cstdint>

// The archive's tables. Times are microseconds since 1970-01-01 UTC; a pen is its plotter's number
// times 65536 plus its own.
//   pen     the variable that each pen recorded
//   chunk   packed values (chunk.h); the chunks of a pen follow one another in time
//   recent  values that are not packed yet, later than every chunk of their pen
namespace trends {

inline constexpr std::int64_t kApplicationId = 0x5A545231;  // tells our files from other databases
inline constexpr std::int64_t kSchemaVersion = 1;

inline constexpr const char* kSchema = R"(
CREATE TABLE pen(pen INTEGER PRIMARY KEY, kind INTEGER NOT NULL, variable INTEGER NOT NULL);
CREATE TABLE chunk(pen INTEGER NOT NULL, last INTEGER NOT NULL, first INTEGER NOT NULL,
    type INTEGER NOT NULL, count INTEGER NOT NULL, data BLOB NOT NULL);
CREATE INDEX chunk_by_time ON chunk(pen, last);
CREATE TABLE recent(pen INTEGER NOT NULL, time INTEGER NOT NULL, sequence INTEGER NOT NULL,
    type INTEGER NOT NULL, quality INTEGER NOT NULL, value REAL,
    PRIMARY KEY(pen, time, sequence)) WITHOUT ROWID;
PRAGMA application_id = 1515475505;
PRAGMA user_version = 1;
)";
static_assert(kApplicationId == 1515475505 && kSchemaVersion == 1, "the schema says them too");

}  // namespace trends
