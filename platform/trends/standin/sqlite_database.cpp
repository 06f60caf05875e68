#include "platform/trends/standin/sqlite_database.h"

#include <limits>

namespace trends {

namespace {

[[noreturn]] void fail(sqlite3* handle) {
    throw ArchiveError(handle != nullptr ? sqlite3_errmsg(handle) : "out of memory");
}

}  // namespace

SqliteDatabase::SqliteDatabase(const std::string& file, Access access, int busyTimeoutMs) {
    const int flags =
        access == Access::read ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    sqlite3* handle = nullptr;
    const int result = sqlite3_open_v2(file.c_str(), &handle, flags, nullptr);
    handle_.reset(handle);  // even after a failure there is a handle to close
    if (result != SQLITE_OK) fail(handle);
    sqlite3_busy_timeout(handle, busyTimeoutMs);
}

void SqliteDatabase::execute(const char* sql) {
    if (sqlite3_exec(handle_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        fail(handle_.get());
    }
}

std::int64_t SqliteDatabase::number(const char* sql) {
    SqliteStatement statement(*this, sql);
    if (!statement.step()) throw ArchiveError("no answer");
    return statement.integer(0);
}

SqliteStatement::SqliteStatement(SqliteDatabase& database, const char* sql) : database_(database) {
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v3(database.handle(), sql, -1, SQLITE_PREPARE_PERSISTENT, &statement,
                             nullptr));
    statement_.reset(statement);
}

SqliteStatement& SqliteStatement::bind(int parameter, std::int64_t value) {
    check(sqlite3_bind_int64(statement_.get(), parameter + 1, value));
    return *this;
}

SqliteStatement& SqliteStatement::bind(int parameter, double value) {
    check(sqlite3_bind_double(statement_.get(), parameter + 1, value));
    return *this;
}

SqliteStatement& SqliteStatement::bind(int parameter, std::span<const std::uint8_t> bytes) {
    check(sqlite3_bind_blob64(statement_.get(), parameter + 1, bytes.data(), bytes.size(),
                              SQLITE_STATIC));
    return *this;
}

bool SqliteStatement::step() {
    const int result = sqlite3_step(statement_.get());
    if (result == SQLITE_ROW) return true;
    const int reset = sqlite3_reset(statement_.get());
    if (result != SQLITE_DONE) check(reset != SQLITE_OK ? reset : result);
    return false;
}

std::int64_t SqliteStatement::integer(int column) const {
    return sqlite3_column_int64(statement_.get(), column);
}

double SqliteStatement::real(int column) const {
    if (sqlite3_column_type(statement_.get(), column) == SQLITE_NULL) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    return sqlite3_column_double(statement_.get(), column);
}

std::span<const std::uint8_t> SqliteStatement::bytes(int column) const {
    const void* data = sqlite3_column_blob(statement_.get(), column);
    const int size = sqlite3_column_bytes(statement_.get(), column);
    return {static_cast<const std::uint8_t*>(data), static_cast<std::size_t>(size)};
}

void SqliteStatement::check(int result) {
    if (result != SQLITE_OK) fail(database_.handle());
}

}  // namespace trends
