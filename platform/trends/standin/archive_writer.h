#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "standin/chunk.h"
#include "standin/definitions.h"
#include "standin/sqlite_database.h"

namespace trends {

/// Writes the stand-in's archive; the controller's library has nothing like it for its users. One
/// writer at a time, beside any number of readers, which see what has been committed. Everything
/// throws ArchiveError; then nothing since the last commit is kept and the object is of no more
/// use. One thread at a time.
class ArchiveWriter {
  public:
    struct Span {
        std::int64_t first, last;  // us since 1970
    };

    /// Opens the archive, making it where it is missing. Values of pens that are not defined any
    /// more, or recorded another variable, are removed.
    ArchiveWriter(const std::string& file, const Definitions& definitions);
    ~ArchiveWriter();  // gives up what was not committed
    ArchiveWriter(const ArchiveWriter&) = delete;
    ArchiveWriter& operator=(const ArchiveWriter&) = delete;

    /// Appends a value to a defined pen. One that is older than the pen's last is left out: the
    /// archive is in the order of time.
    void add(std::int64_t pen, const Sample& sample);

    void commit();

    /// Removes values older than `time` (us since 1970), as far as whole chunks of them are; the
    /// rest goes with a later call. Part of what the next commit keeps.
    void removeBefore(std::int64_t time);

    /// From the oldest to the newest value; nothing in an empty archive.
    [[nodiscard]] std::optional<Span> span();

    /// Commits and moves everything into the file itself, so that a copy of it is whole.
    void finish();

  private:
    /// A pen's values behind its last chunk.
    struct Tail {
        std::int16_t valueType = 0;
        ChunkEncoder packed{0};
        std::vector<Sample> pending;  // not in the table `recent` yet
        bool hasRecent = false;       // some are in it
        std::int64_t last = 0;        // of the newest value, also when it is in a chunk
        bool empty = true;
    };

    void begin();
    void makeTables();
    void removeOtherPens(const Definitions& definitions);
    void addPens(const Definitions& definitions);
    void loadTails();
    void storeChunk(std::int64_t pen, Tail& tail);
    void storePending(std::int64_t pen, Tail& tail);

    SqliteDatabase database_;
    std::map<std::int64_t, Tail> tails_;  // by pen
    struct Statements;
    std::unique_ptr<Statements> statements_;
    std::int64_t sequence_ = 0;  // tells values of one time apart in `recent`
    bool inTransaction_ = false;
};

}  // namespace trends
