#include "platform/trends/standin/archive_writer.h"

#include <algorithm>
#include <string>
#include <vector>

#include "platform/trends/standin/batch.h"
#include "platform/trends/standin/schema.h"
#include "platform/trends/standin/upgrade.h"

namespace trends {

namespace {

constexpr int kBusyTimeoutMs = 5000;

/// With one batch a second, chunks are made four times an hour. Making them changes a page or two
/// per pen, so making them more often would write more. Every read of the newest values searches
/// the batches, so making chunks less often would slow these reads down.
constexpr int kMostBatches = 900;

/// Chosen to spare flash memory. A commit appends the pages that it changed to SQLite's log; they
/// are copied to their places once per 2000 pages or so. A rollback journal would write each page
/// twice and synchronise the disk at every commit. The log is not synchronised at a commit either:
/// a killed process loses nothing by that, and a power failure costs what the kernel had not
/// written yet, usually half a minute, but never the archive. A small page contains little besides
/// what a commit appended, so little is written again; even smaller pages would make long reads
/// slower.
constexpr const char* kSettings =
    "PRAGMA page_size = 2048; PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL;"
    "PRAGMA wal_autocheckpoint = 2000; PRAGMA journal_size_limit = 5000000";

}  // namespace

struct ArchiveWriter::Statements {
    explicit Statements(SqliteDatabase& database)
        : chunks(database),
          addRecent(database, "INSERT INTO recent(first, last, data) VALUES(?, ?, ?)"),
          removeRecent(database, "DELETE FROM recent") {}

    ChunkTable chunks;
    SqliteStatement addRecent, removeRecent;
};

ArchiveWriter::ArchiveWriter(const std::string& file, const Definitions& definitions)
    : database_(file, SqliteDatabase::Access::write, kBusyTimeoutMs) {
    database_.execute(kSettings);
    begin();
    makeTables();
    statements_ = std::make_unique<Statements>(database_);
    packRecent();
    removeOtherPens(definitions);
    addPens(definitions);
    commit();
}

ArchiveWriter::~ArchiveWriter() = default;

void ArchiveWriter::add(std::int64_t pen, const Sample& sample) {
    const auto found = tails_.find(pen);
    if (found == tails_.end()) throw ArchiveError("no such pen");
    Tail& tail = found->second;
    const bool clockSetBack = sample.time < newest_;
    if (clockSetBack || !tail.packed.accepts(sample.time)) storeChunks();
    if (batchEmpty_) batchFirst_ = sample.time;
    batchEmpty_ = false;
    newest_ = sample.time;
    tail.packed.add(sample);
    tail.batch.add(sample);
}

void ArchiveWriter::commit() {
    if (!batchEmpty_) {
        if (batches_ < kMostBatches) {
            storeBatch();
        } else {
            storeChunks();
        }
    }
    if (!inTransaction_) return;
    database_.execute("COMMIT");
    inTransaction_ = false;
}

void ArchiveWriter::keepRecorded(std::int64_t length) {
    // A chunk counts with its duration plus one second, so that one with a single value counts too.
    constexpr std::int64_t kSecond = 1'000'000;
    begin();
    SqliteStatement chunks(database_,
                           "SELECT rowid, last - first FROM chunk WHERE pen = ?"
                           " ORDER BY rowid DESC");
    SqliteStatement remove(database_, "DELETE FROM chunk WHERE pen = ? AND rowid < ?");
    for (const auto& [pen, tail] : tails_) {
        std::int64_t oldest = 0;
        std::int64_t recorded = 0;
        chunks.bind(0, pen);
        while (recorded < length && chunks.step()) {
            oldest = chunks.integer(0);
            recorded += std::clamp<std::int64_t>(chunks.integer(1), 0, kLongestChunk) + kSecond;
        }
        chunks.reset();
        if (recorded >= length) remove.bind(0, pen).bind(1, oldest).step();
    }
}

std::optional<ArchiveWriter::Span> ArchiveWriter::spanAtOpening(std::int64_t until) {
    SqliteStatement span(database_,
                         "SELECT min(first), max(min(last, ?)) FROM chunk WHERE first <= ?"
                         " HAVING count(*) > 0");
    if (!span.bind(0, until).bind(1, until).step()) return std::nullopt;
    const Span found{span.integer(0), span.integer(1)};
    span.reset();
    return found;
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
    const bool isNew = database_.number("SELECT count(*) FROM sqlite_master") == 0;
    if (isNew) {
        database_.execute(kPenTables);
        database_.execute(kTimeTables);
    } else if (database_.number("PRAGMA application_id") != kApplicationId) {
        throw ArchiveError("not an archive of trends");
    } else if (version == 1) {
        upgradeFromVersion1(database_);
    } else if (version != kSchemaVersion) {
        throw ArchiveError("version " + std::to_string(version) + " of the archive is unknown");
    }
}

/// Converts the batches that an earlier writer left to chunks: its pens may have had other types,
/// or may no longer be defined.
void ArchiveWriter::packRecent() {
    std::map<std::int64_t, ChunkPacker> packers;
    SqliteStatement recent(database_, "SELECT first, data FROM recent ORDER BY rowid");
    while (recent.step()) {
        BatchDecoder batch(recent.integer(0), recent.bytes(1));
        for (Run run; batch.next(run);) {
            auto& packer = packers.try_emplace(run.pen, statements_->chunks, run.pen).first->second;
            ChunkDecoder values(run.valueType, run.first, run.bytes);
            for (Sample sample; values.next(sample);)
                packer.add(run.valueType, sample);
            if (values.damaged()) throw ArchiveError("damaged batch");
        }
        if (batch.damaged()) throw ArchiveError("damaged batch");
    }
    for (auto& [pen, packer] : packers)
        packer.finish();
    statements_->removeRecent.step();
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
             {"DELETE FROM chunk WHERE pen = ?", "DELETE FROM pen WHERE pen = ?"}) {
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
            tails_.emplace(key, Tail{ChunkEncoder(pen.valueType), ChunkEncoder(pen.valueType)});
        }
    }
}

// ---- storing -----------------------------------------------------------------------------------

void ArchiveWriter::storeBatch() {
    begin();
    BatchEncoder batch(batchFirst_);
    for (auto& [pen, tail] : tails_) {
        if (tail.batch.count() == 0) continue;
        batch.add({pen, tail.batch.valueType(), tail.batch.first(), tail.batch.bytes()});
        tail.batch.clear();
    }
    statements_->addRecent.bind(0, batch.first()).bind(1, newest_).bind(2, batch.bytes()).step();
    batchEmpty_ = true;
    ++batches_;
}

/// Stores everything in batches and what was added since as chunks.
void ArchiveWriter::storeChunks() {
    begin();
    for (auto& [pen, tail] : tails_) {
        statements_->chunks.store(pen, tail.packed);
        tail.batch.clear();
    }
    statements_->removeRecent.step();
    newest_ = std::numeric_limits<std::int64_t>::min();
    batchEmpty_ = true;
    batches_ = 0;
}

}  // namespace trends
