#include "platform/trends/standin/chunk_table.h"

namespace trends {

ChunkTable::ChunkTable(SqliteDatabase& database)
    : add_(database,
           "INSERT INTO chunk(pen, last, first, type, count, data) VALUES(?, ?, ?, ?, ?, ?)") {}

void ChunkTable::store(std::int64_t pen, ChunkEncoder& values) {
    if (values.count() == 0) return;
    add_.bind(0, pen)
        .bind(1, values.last())
        .bind(2, values.first())
        .bind(3, std::int64_t{values.valueType()})
        .bind(4, std::int64_t{values.count()})
        .bind(5, values.bytes())
        .step();
    values.clear();
}

}  // namespace trends
