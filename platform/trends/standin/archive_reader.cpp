#include "platform/trends/standin/archive_reader.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "platform/trends/standin/schema.h"

namespace trends {

namespace {

constexpr int kBusyTimeoutMs = 500;

/// Opens the file and refuses other databases, before a statement fails because of missing tables.
SqliteDatabase opened(const std::string& file) {
    SqliteDatabase database(file, SqliteDatabase::Access::read, kBusyTimeoutMs);
    if (database.number("PRAGMA application_id") != kApplicationId) {
        throw ArchiveError("not an archive of trends");
    }
    // The writer converts an archive of an earlier version when it opens it.
    const auto version = database.number("PRAGMA user_version");
    if (version != kSchemaVersion) {
        throw ArchiveError("version " + std::to_string(version) + " of the archive is unknown");
    }
    return database;
}

/// Everything read within a transaction is of one moment of the archive.
class ReadTransaction {
  public:
    explicit ReadTransaction(SqliteDatabase& database) : database_(database) {
        database_.execute("BEGIN");
    }
    ~ReadTransaction() {
        // Nothing was changed, so nothing can be lost if this fails.
        sqlite3_exec(database_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
    ReadTransaction(const ReadTransaction&) = delete;
    ReadTransaction& operator=(const ReadTransaction&) = delete;

  private:
    SqliteDatabase& database_;
};

/// Discards the rows that were not fetched, even if fetching failed.
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
      chunks_(database_,
              "SELECT type, first, data FROM chunk"
              " WHERE pen = ? AND first >= ? AND first <= ? AND last >= ? ORDER BY first, rowid"),
      recent_(database_, "SELECT first, data FROM recent WHERE rowid >= ? ORDER BY rowid"),
      lastBatch_(database_, "SELECT ifnull(max(rowid), 0) FROM recent"),
      endOfBatch_(database_, "SELECT last FROM recent WHERE rowid = ?") {}

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
    readRecent();
    return std::move(values_);
}

/// Whether neither a value of this time nor any later one can be part of the answer.
bool ArchiveReader::isBeyond(std::int64_t time) const {
    const bool full = values_.size() == request_.limit;
    return time > request_.end || (full && time >= values_.back().sample.time);
}

void ArchiveReader::readChunks() {
    constexpr std::int64_t kEarliest = std::numeric_limits<std::int64_t>::min() + kLongestChunk;
    const Rows rows(chunks_);
    chunks_.bind(0, request_.pen)
        .bind(1, std::max(request_.start, kEarliest) - kLongestChunk)
        .bind(2, request_.end)
        .bind(3, request_.start);
    while (chunks_.step()) {
        const std::int64_t first = chunks_.integer(1);
        if (isBeyond(first)) return;
        take(
            {request_.pen, static_cast<std::int16_t>(chunks_.integer(0)), first, chunks_.bytes(2)});
    }
}

/// The number of the first batch that does not end before the request's start. Batches are ordered
/// by time and numbered from 1 without gaps.
std::int64_t ArchiveReader::firstBatch() {
    const Rows rows(lastBatch_);
    if (!lastBatch_.step()) return 1;
    std::int64_t first = 1;
    for (std::int64_t count = lastBatch_.integer(0); count > 0;) {
        const std::int64_t half = count / 2;
        const Rows ends(endOfBatch_);
        const bool ended =
            endOfBatch_.bind(0, first + half).step() && endOfBatch_.integer(0) < request_.start;
        if (ended) first += half + 1;
        count = ended ? count - half - 1 : half;
    }
    return first;
}

/// Reads the batches, all of which may be earlier than the chunks.
void ArchiveReader::readRecent() {
    const Rows rows(recent_);
    recent_.bind(0, firstBatch());
    while (recent_.step()) {
        const std::int64_t first = recent_.integer(0);
        if (isBeyond(first)) return;
        BatchDecoder batch(first, recent_.bytes(1));
        takeRuns(batch);
    }
}

void ArchiveReader::takeRuns(BatchDecoder& batch) {
    for (Run run; batch.next(run) && run.pen <= request_.pen;) {
        if (run.pen == request_.pen) take(run);
    }
    if (batch.damaged()) throw ArchiveError("damaged batch");
}

/// Adds the values of the run that belong to the request.
void ArchiveReader::take(const Run& run) {
    const auto before = static_cast<std::ptrdiff_t>(values_.size());
    const std::size_t most = values_.size() + request_.limit;
    ChunkDecoder decoder(run.valueType, run.first, run.bytes);
    for (Sample sample; values_.size() < most && decoder.next(sample);) {
        if (sample.time < request_.start) continue;
        if (sample.time > request_.end) break;
        values_.push_back({sample, run.valueType});
    }
    if (decoder.damaged()) throw ArchiveError("damaged chunk");
    const auto isEarlier = [](const StoredValue& a, const StoredValue& b) {
        return a.sample.time < b.sample.time;
    };
    const auto middle = values_.begin() + before;
    if (before > 0 && middle != values_.end() && isEarlier(*middle, middle[-1])) {
        std::inplace_merge(values_.begin(), middle, values_.end(), isEarlier);
    }
    if (values_.size() > request_.limit) values_.resize(request_.limit);
}

}  // namespace trends
