#include "standin/archive_reader.h"

#include <utility>

#include "standin/schema.h"

namespace trends {

namespace {

constexpr int kBusyTimeoutMs = 500;

/// Opens the file and refuses other databases before a statement meets missing tables.
SqliteDatabase opened(const std::string& file) {
    SqliteDatabase database(file, SqliteDatabase::Access::read, kBusyTimeoutMs);
    if (database.number("PRAGMA application_id") != kApplicationId ||
        database.number("PRAGMA user_version") != kSchemaVersion) {
        throw ArchiveError("not an archive of trends");
    }
    return database;
}

/// What is read inside belongs to one moment of the archive.
class ReadTransaction {
  public:
    explicit ReadTransaction(SqliteDatabase& database) : database_(database) {
        database_.execute("BEGIN");
    }
    ~ReadTransaction() {
        // Nothing was changed, so there is nothing that could fail to be kept.
        sqlite3_exec(database_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
    ReadTransaction(const ReadTransaction&) = delete;
    ReadTransaction& operator=(const ReadTransaction&) = delete;

  private:
    SqliteDatabase& database_;
};

/// Gives up the rows that were not fetched, also when fetching failed.
class Rows {
  public:
    explicit Rows(SqliteStatement& statement) : statement_(statement) {}
    ~Rows() { statement_.reset(); }
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;

  private:
    SqliteStatement& statement_;
};

}  // namespace

ArchiveReader::ArchiveReader(const std::string& file)
    : database_(opened(file)),
      pens_(database_, "SELECT 1 FROM pen WHERE pen = ?"),
      chunks_(
          database_,
          "SELECT type, first, data FROM chunk WHERE pen = ? AND last >= ? ORDER BY last, rowid"),
      recent_(
          database_,
          "SELECT type, time, value, quality FROM recent WHERE pen = ? AND time >= ? AND time <= ?"
          " ORDER BY time, sequence") {}

bool ArchiveReader::hasPen(std::int64_t pen) {
    const Rows rows(pens_);
    return pens_.bind(0, pen).step();
}

std::vector<StoredValue> ArchiveReader::read(std::int64_t pen, std::int64_t start, std::int64_t end,
                                             std::size_t limit) {
    values_.clear();
    if (limit == 0 || start > end) return {};
    request_ = {pen, start, end, limit};
    const ReadTransaction transaction(database_);
    readChunks();
    if (values_.size() < limit) readRecent();
    return std::move(values_);
}

void ArchiveReader::readChunks() {
    const Rows rows(chunks_);
    chunks_.bind(0, request_.pen).bind(1, request_.start);
    while (chunks_.step() && takeChunk()) {
    }
}

/// Takes what fits out of the chunk. False when no later chunk is needed.
bool ArchiveReader::takeChunk() {
    const auto valueType = static_cast<std::int16_t>(chunks_.integer(0));
    const std::int64_t first = chunks_.integer(1);
    if (first > request_.end) return false;
    ChunkDecoder decoder(valueType, first, chunks_.bytes(2));
    for (Sample sample; decoder.next(sample);) {
        if (sample.time < request_.start) continue;
        if (sample.time > request_.end) return false;
        values_.push_back({sample, valueType});
        if (values_.size() == request_.limit) return false;
    }
    if (decoder.damaged()) throw ArchiveError("damaged chunk");
    return true;
}

void ArchiveReader::readRecent() {
    const Rows rows(recent_);
    recent_.bind(0, request_.pen).bind(1, request_.start).bind(2, request_.end);
    while (values_.size() < request_.limit && recent_.step()) {
        const Sample sample{recent_.integer(1), recent_.real(2),
                            static_cast<std::uint32_t>(recent_.integer(3))};
        values_.push_back({sample, static_cast<std::int16_t>(recent_.integer(0))});
    }
}

}  // namespace trends
