#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/trends/standin/batch.h"
#include "platform/trends/standin/chunk.h"
#include "platform/trends/standin/sqlite_database.h"

namespace trends {

struct StoredValue {
    Sample sample;
    std::int16_t valueType = 0;  // jxo::kVt...
};

/// Reads an archive, even while a writer adds to it. All operations throw ArchiveError. One thread
/// at a time.
class ArchiveReader {
  public:
    explicit ArchiveReader(const std::string& file);

    /// Whether the archive knows the pen, with or without values.
    [[nodiscard]] bool hasPen(std::int64_t pen);

    /// The values of a pen from `start` to `end`, both included (us since 1970), oldest first, at
    /// most `limit`. All are of one moment, whatever is written meanwhile. Values that were
    /// recorded out of order because the clock was set back are sorted.
    [[nodiscard]] std::vector<StoredValue> read(std::int64_t pen, std::int64_t start,
                                                std::int64_t end, std::size_t limit);

  private:
    void readChunks();
    [[nodiscard]] std::int64_t firstBatch();
    void readRecent();
    void takeRuns(BatchDecoder& batch);
    void take(const Run& run);
    [[nodiscard]] bool isBeyond(std::int64_t time) const;

    struct Request {
        std::int64_t pen, start, end;
        std::size_t limit;
    };
    SqliteDatabase database_;
    SqliteStatement pens_, chunks_, recent_, lastBatch_, endOfBatch_;
    Request request_{};
    std::vector<StoredValue> values_;  // the answer while it grows, in order of time
};

}  // namespace trends
