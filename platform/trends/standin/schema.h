#pragma once

#include <cstdint>

// The archive's tables. Times are microseconds since 1970-01-01 UTC; a pen is its plotter's number
// times 65536 plus its own.
//   pen     the variable that each pen recorded
//   chunk   packed values of a pen (chunk.h), in the order in which they were recorded. Where the
//           clock was set back, chunks of a pen overlap in time; none is longer than
//           kLongestChunk, which determines how far back a search by time has to begin
//   recent  batches (batch.h) that are not in chunks yet, in order of time
namespace trends {

inline constexpr std::int64_t kApplicationId = 0x5A545231;  // marks our files among other databases
inline constexpr std::int64_t kSchemaVersion = 2;

/// From the first to the last value of a chunk, us.
inline constexpr std::int64_t kLongestChunk = 7200LL * 1'000'000;

inline constexpr const char* kPenTables = R"(
CREATE TABLE pen(pen INTEGER PRIMARY KEY, kind INTEGER NOT NULL, variable INTEGER NOT NULL);
CREATE TABLE chunk(pen INTEGER NOT NULL, last INTEGER NOT NULL, first INTEGER NOT NULL,
    type INTEGER NOT NULL, count INTEGER NOT NULL, data BLOB NOT NULL);
PRAGMA application_id = 1515475505;
)";
inline constexpr const char* kTimeTables = R"(
CREATE INDEX chunk_by_time ON chunk(pen, first, last);
CREATE TABLE recent(first INTEGER NOT NULL, last INTEGER NOT NULL, data BLOB NOT NULL);
PRAGMA user_version = 2;
)";
static_assert(kApplicationId == 1515475505 && kSchemaVersion == 2, "the schema says them too");

}  // namespace trends
