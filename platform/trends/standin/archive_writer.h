#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/trends/standin/chunk.h"
#include "platform/trends/standin/chunk_table.h"
#include "platform/trends/standin/definitions.h"
#include "platform/trends/standin/sqlite_database.h"

namespace trends {

/// Writes the stand-in's archive; the interface of the controller's library has no counterpart. One
/// writer at a time, beside any number of readers, which see what was committed. All operations
/// throw ArchiveError; then everything since the last commit is lost and the object is unusable.
/// One thread at a time.
class ArchiveWriter {
  public:
    struct Span {
        std::int64_t first, last;  // us since 1970
    };

    /// Opens the archive, creating it if it is missing; an archive of the previous version is
    /// converted. Values of pens that are no longer defined, or that recorded another variable, are
    /// removed.
    ArchiveWriter(const std::string& file, const Definitions& definitions);
    ~ArchiveWriter();  // discards what was not committed
    ArchiveWriter(const ArchiveWriter&) = delete;
    ArchiveWriter& operator=(const ArchiveWriter&) = delete;

    /// Appends a value to a defined pen. Values are expected in order of time; a value that is
    /// older than the previous one of any pen is kept too, but begins a new chunk of every pen.
    void add(std::int64_t pen, const Sample& sample);

    void commit();

    /// Removes the oldest chunks of each pen: those after which the pen has been recorded for
    /// `length` (us). The clock's time does not matter, nor do pauses of the recorder. Takes effect
    /// with the next commit.
    void keepRecorded(std::int64_t length);

    /// From the oldest value to the newest one that is not later than `until`, among those
    /// committed before the archive was opened; nothing if there are none.
    [[nodiscard]] std::optional<Span> spanAtOpening(std::int64_t until);

    /// Commits and moves everything into the file itself, so that a copy of it is complete.
    void finish();

  private:
    /// A pen's values that are not in a chunk yet.
    struct Tail {
        ChunkEncoder packed;  // all of them
        ChunkEncoder batch;   // those since the last commit
    };

    void begin();
    void makeTables();
    void packRecent();
    void removeOtherPens(const Definitions& definitions);
    void addPens(const Definitions& definitions);
    void storeBatch();
    void storeChunks();

    SqliteDatabase database_;
    std::map<std::int64_t, Tail> tails_;  // by pen
    struct Statements;
    std::unique_ptr<Statements> statements_;
    /// Of the values that are not in a chunk yet, us since 1970.
    std::int64_t newest_ = std::numeric_limits<std::int64_t>::min();
    std::int64_t batchFirst_ = 0;  // us since 1970, of the values since the last commit
    bool batchEmpty_ = true;
    int batches_ = 0;  // rows of the table `recent`
    bool inTransaction_ = false;
};

}  // namespace trends
