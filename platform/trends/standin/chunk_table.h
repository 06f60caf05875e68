#pragma once

#include <cstdint>

#include "platform/trends/standin/chunk.h"
#include "platform/trends/standin/sqlite_database.h"

namespace trends {

/// Appends rows to the table `chunk`. Throws ArchiveError. The database must outlive it.
class ChunkTable {
  public:
    explicit ChunkTable(SqliteDatabase& database);

    /// Stores the values, if there are any, and empties the encoder.
    void store(std::int64_t pen, ChunkEncoder& values);

  private:
    SqliteStatement add_;
};

/// Packs values of one pen that come from elsewhere, oldest first, into as many chunks as they
/// need.
class ChunkPacker {
  public:
    ChunkPacker(ChunkTable& chunks, std::int64_t pen) : chunks_(chunks), pen_(pen) {}

    void add(std::int16_t valueType, const Sample& sample) {
        if (values_.valueType() != valueType || !values_.accepts(sample.time)) finish();
        if (values_.count() == 0) values_ = ChunkEncoder(valueType);
        values_.add(sample);
    }

    /// Stores what is left.
    void finish() { chunks_.store(pen_, values_); }

  private:
    ChunkTable& chunks_;
    std::int64_t pen_;
    ChunkEncoder values_{0};
};

}  // namespace trends
