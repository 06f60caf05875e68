#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace trends {

/// The archive cannot be opened, read or written: missing, damaged, locked, no room.
class ArchiveError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// One connection to a database file. All operations throw ArchiveError. One thread at a time.
class SqliteDatabase {
  public:
    enum class Access { read, write };  // write creates a missing file

    /// @param busyTimeoutMs  how long a step waits for another connection's lock
    SqliteDatabase(const std::string& file, Access access, int busyTimeoutMs);

    /// Runs statements that have no result.
    void execute(const char* sql);

    /// The first column of the first row.
    [[nodiscard]] std::int64_t number(const char* sql);

    [[nodiscard]] sqlite3* handle() { return handle_.get(); }

  private:
    struct Close {
        void operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }
    };
    std::unique_ptr<sqlite3, Close> handle_;
};

/// A prepared statement; its database must outlive it. Parameters and columns count from 0 here.
class SqliteStatement {
  public:
    SqliteStatement(SqliteDatabase& database, const char* sql);

    SqliteStatement& bind(int parameter, std::int64_t value);
    SqliteStatement& bind(int parameter, double value);  // a NaN is kept as NULL
    /// The bytes must stay until the statement has run.
    SqliteStatement& bind(int parameter, std::span<const std::uint8_t> bytes);

    /// Goes to the next row. False when there is none; the statement can then be run again.
    bool step();
    /// Discards the remaining rows.
    void reset() { sqlite3_reset(statement_.get()); }

    [[nodiscard]] std::int64_t integer(int column) const;
    [[nodiscard]] double real(int column) const;  // NULL is a NaN
    /// Valid until the next step.
    [[nodiscard]] std::span<const std::uint8_t> bytes(int column) const;

  private:
    void check(int result);

    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    SqliteDatabase& database_;
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

}  // namespace trends
