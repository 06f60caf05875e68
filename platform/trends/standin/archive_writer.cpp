#include "standin/archive_writer.h"

#include <algorithm>
#include <utility>

#include "standin/schema.h"

namespace trends {

namespace {

constexpr int kBusyTimeoutMs = 5000;

/// Long enough that the last page of a chunk, half empty on average, does not count; short enough
/// that a read unpacks little that it does not return.
constexpr std::uint32_t kValuesPerChunk = 4096;

}  // namespace

struct ArchiveWriter::Statements {
    explicit Statements(SqliteDatabase& database)
        : addChunk(
              database,
              "INSERT INTO chunk(pen, last, first, type, count, data) VALUES(?, ?, ?, ?, ?, ?)"),
          addRecent(database,
                    "INSERT INTO recent(pen, time, sequence, type, quality, value)"
                    " VALUES(?, ?, ?, ?, ?, ?)"),
          removeRecent(database, "DELETE FROM recent WHERE pen = ?"),
          removeOldRecent(database, "DELETE FROM recent WHERE pen = ? AND time < ?"),
          removeOldChunks(database, "DELETE FROM chunk WHERE pen = ? AND last < ?") {}

    SqliteStatement addChunk, addRecent, removeRecent, removeOldRecent, removeOldChunks;
};

ArchiveWriter::ArchiveWriter(const std::string& file, const Definitions& definitions)
    : database_(file, SqliteDatabase::Access::write, kBusyTimeoutMs) {
    // A power failure may cost the last moments, never the archive.
    database_.execute(
        "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL; PRAGMA journal_size_limit = "
        "4000000");
    begin();
    makeTables();
    statements_ = std::make_unique<Statements>(database_);
    removeOtherPens(definitions);
    addPens(definitions);
    loadTails();
    commit();
}

ArchiveWriter::~ArchiveWriter() = default;

void ArchiveWriter::add(std::int64_t pen, const Sample& sample) {
    const auto found = tails_.find(pen);
    if (found == tails_.end()) throw ArchiveError("no such pen");
    Tail& tail = found->second;
    if (!tail.empty && sample.time < tail.last) return;
    tail.last = sample.time;
    tail.empty = false;
    tail.packed.add(sample);
    tail.pending.push_back(sample);
    if (tail.packed.count() < kValuesPerChunk) return;
    begin();
    storeChunk(pen, tail);
}

void ArchiveWriter::commit() {
    for (auto& [pen, tail] : tails_) {
        if (!tail.pending.empty()) storePending(pen, tail);
    }
    if (!inTransaction_) return;
    database_.execute("COMMIT");
    inTransaction_ = false;
}

void ArchiveWriter::removeBefore(std::int64_t time) {
    begin();
    for (auto& [pen, tail] : tails_) {
        statements_->removeOldChunks.bind(0, pen).bind(1, time).step();
        if (tail.empty || tail.last >= time) continue;
        // Everything of this pen is old; a part of the tail stays until all of it is.
        statements_->removeOldRecent.bind(0, pen).bind(1, time).step();
        tail.packed.clear();
        tail.pending.clear();
        tail.hasRecent = false;
    }
}

std::optional<ArchiveWriter::Span> ArchiveWriter::span() {
    if (database_.number("SELECT count(*) FROM (SELECT 1 FROM chunk UNION ALL"
                         " SELECT 1 FROM recent LIMIT 1)") == 0) {
        return std::nullopt;
    }
    return Span{database_.number("SELECT min(time) FROM (SELECT min(first) AS time FROM chunk"
                                 " UNION ALL SELECT min(time) FROM recent)"),
                database_.number("SELECT max(time) FROM (SELECT max(last) AS time FROM chunk"
                                 " UNION ALL SELECT max(time) FROM recent)")};
}

void ArchiveWriter::finish() {
    commit();
    database_.execute("PRAGMA wal_checkpoint(TRUNCATE)");
}

// ---- opening -----------------------------------------------------------------------------------

void ArchiveWriter::begin() {
    if (inTransaction_) return;
    database_.execute("BEGIN IMMEDIATE");
    inTransaction_ = true;
}

void ArchiveWriter::makeTables() {
    const auto version = database_.number("PRAGMA user_version");
    const auto application = database_.number("PRAGMA application_id");
    const bool isNew = database_.number("SELECT count(*) FROM sqlite_master") == 0;
    if (isNew) {
        database_.execute(kSchema);
    } else if (application != kApplicationId || version != kSchemaVersion) {
        throw ArchiveError("not an archive of trends");
    }
}

void ArchiveWriter::removeOtherPens(const Definitions& definitions) {
    std::vector<std::int64_t> gone;
    SqliteStatement pens(database_, "SELECT pen, kind, variable FROM pen");
    while (pens.step()) {
        const std::int64_t key = pens.integer(0);
        const PenDefinition* pen = definitions.find(static_cast<std::uint32_t>(key / 65536),
                                                    static_cast<std::uint32_t>(key % 65536));
        const bool same = pen != nullptr && pen->variableKind == pens.integer(1) &&
                          pen->variableNum == pens.integer(2);
        if (!same) gone.push_back(key);
    }
    for (const std::int64_t key : gone) {
        for (const char* sql :
             {"DELETE FROM chunk WHERE pen = ?", "DELETE FROM recent WHERE pen = ?",
              "DELETE FROM pen WHERE pen = ?"}) {
            SqliteStatement(database_, sql).bind(0, key).step();
        }
    }
}

void ArchiveWriter::addPens(const Definitions& definitions) {
    SqliteStatement add(database_,
                        "INSERT OR REPLACE INTO pen(pen, kind, variable) VALUES(?, ?, ?)");
    for (std::uint32_t plotter = 1; plotter <= definitions.plotters.size(); ++plotter) {
        const auto& pens = definitions.plotters[plotter - 1].pens;
        for (std::uint32_t num = 1; num <= pens.size(); ++num) {
            const PenDefinition& pen = pens[num - 1];
            const std::int64_t key = penKey(plotter, num);
            add.bind(0, key)
                .bind(1, std::int64_t{pen.variableKind})
                .bind(2, std::int64_t{pen.variableNum})
                .step();
            Tail& tail = tails_[key];
            tail.valueType = pen.valueType;
            tail.packed = ChunkEncoder(pen.valueType);
        }
    }
}

/// Goes on where an earlier writer stopped. Values of another type than the pen's are packed as
/// they are, since a chunk has one type.
void ArchiveWriter::loadTails() {
    sequence_ = database_.number("SELECT ifnull(max(sequence), 0) FROM recent");
    SqliteStatement last(database_,
                         "SELECT max(last) FROM chunk WHERE pen = ? HAVING count(*) > 0");
    SqliteStatement recent(database_,
                           "SELECT time, value, quality, type FROM recent WHERE pen = ?"
                           " ORDER BY time, sequence");
    for (auto& [pen, tail] : tails_) {
        if (last.bind(0, pen).step()) {
            tail.last = last.integer(0);
            tail.empty = false;
            last.reset();
        }
        const std::int16_t defined = tail.valueType;
        recent.bind(0, pen);
        while (recent.step()) {
            tail.valueType = static_cast<std::int16_t>(recent.integer(3));
            if (tail.packed.count() == 0) tail.packed = ChunkEncoder(tail.valueType);
            tail.packed.add(
                {recent.integer(0), recent.real(1), static_cast<std::uint32_t>(recent.integer(2))});
            tail.last = recent.integer(0);
            tail.empty = false;
            tail.hasRecent = true;
        }
        if (tail.valueType != defined) storeChunk(pen, tail);
        tail.valueType = defined;
        if (tail.packed.count() == 0) tail.packed = ChunkEncoder(defined);
    }
}

// ---- storing -----------------------------------------------------------------------------------

void ArchiveWriter::storeChunk(std::int64_t pen, Tail& tail) {
    ChunkEncoder& chunk = tail.packed;
    statements_->addChunk.bind(0, pen)
        .bind(1, chunk.last())
        .bind(2, chunk.first())
        .bind(3, std::int64_t{tail.valueType})
        .bind(4, std::int64_t{chunk.count()})
        .bind(5, chunk.bytes())
        .step();
    if (tail.hasRecent) statements_->removeRecent.bind(0, pen).step();
    chunk.clear();
    tail.pending.clear();
    tail.hasRecent = false;
}

void ArchiveWriter::storePending(std::int64_t pen, Tail& tail) {
    begin();
    for (const Sample& sample : tail.pending) {
        statements_->addRecent.bind(0, pen)
            .bind(1, sample.time)
            .bind(2, ++sequence_)
            .bind(3, std::int64_t{tail.valueType})
            .bind(4, std::int64_t{sample.quality})
            .bind(5, sample.value)
            .step();
    }
    tail.pending.clear();
    tail.hasRecent = true;
}

}  // namespace trends
