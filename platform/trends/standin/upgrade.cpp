#include "platform/trends/standin/upgrade.h"

#include <vector>

#include "platform/trends/standin/chunk_table.h"
#include "platform/trends/standin/schema.h"

namespace trends {

namespace {

void packRecent(SqliteDatabase& database, ChunkTable& chunks, std::int64_t pen) {
    SqliteStatement recent(database,
                           "SELECT type, time, value, quality FROM recent WHERE pen = ?"
                           " ORDER BY time, sequence");
    ChunkPacker packer(chunks, pen);
    recent.bind(0, pen);
    while (recent.step()) {
        packer.add(
            static_cast<std::int16_t>(recent.integer(0)),
            {recent.integer(1), recent.real(2), static_cast<std::uint32_t>(recent.integer(3))});
    }
    packer.finish();
}

/// False when the chunk is malformed.
bool unpacked(const SqliteStatement& row, std::vector<Sample>& values) {
    values.clear();
    ChunkDecoder decoder(static_cast<std::int16_t>(row.integer(1)), row.integer(2), row.bytes(3));
    for (Sample sample; decoder.next(sample);)
        values.push_back(sample);
    return !decoder.damaged();
}

/// A malformed chunk stays as it is.
void splitChunk(SqliteDatabase& database, ChunkTable& chunks, std::int64_t row) {
    SqliteStatement chunk(database, "SELECT pen, type, first, data FROM chunk WHERE rowid = ?");
    std::vector<Sample> values;
    if (!chunk.bind(0, row).step() || !unpacked(chunk, values)) return;
    ChunkPacker packer(chunks, chunk.integer(0));
    for (const Sample& sample : values)
        packer.add(static_cast<std::int16_t>(chunk.integer(1)), sample);
    chunk.reset();
    packer.finish();
    SqliteStatement(database, "DELETE FROM chunk WHERE rowid = ?").bind(0, row).step();
}

std::vector<std::int64_t> numbers(SqliteStatement&& rows) {
    std::vector<std::int64_t> all;
    while (rows.step())
        all.push_back(rows.integer(0));
    return all;
}

}  // namespace

void upgradeFromVersion1(SqliteDatabase& database) {
    ChunkTable chunks(database);
    for (const auto pen : numbers({database, "SELECT DISTINCT pen FROM recent"}))
        packRecent(database, chunks, pen);
    SqliteStatement tooLong(database, "SELECT rowid FROM chunk WHERE last - first > ?");
    tooLong.bind(0, kLongestChunk);
    for (const auto row : numbers(std::move(tooLong)))
        splitChunk(database, chunks, row);
    database.execute("DROP TABLE recent; DROP INDEX chunk_by_time");
    database.execute(kTimeTables);
}

}  // namespace trends
