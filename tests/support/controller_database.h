#pragma once

#include "sim/layout/little_endian.h"
#include "sim/memory/database_memory.h"
#include "tests/support/basics.h"

/// A controller's real-time database for tests in the sandbox: key files and attribute descriptions
/// below /zrt, the tables and counts in shared memory, and a process "VsBASE" that answers the type
/// query. Layout and attributes are zrtsim's, which does not use the library's structs, so that a
/// wrong offset there is detected.
///
/// The one object, `database`, is made before the other static objects of the program: the server's
/// own database object looks for the counts when it is constructed. It also makes `All`. Everything
/// ends with the sandbox; forked children of the test share it.
class ControllerDatabase {
  public:
    /// By type code - 1. The values of TH fill a page, so that reads beyond them fail.
    static constexpr sim::Counts kCounts = {3, 2, 4, 2, 2, 1024, 3, 3, 3, 3, 3};
    enum class Area : std::uint8_t { passport, currentData, currentValue };

    ControllerDatabase();
    ControllerDatabase(const ControllerDatabase&) = delete;
    ControllerDatabase& operator=(const ControllerDatabase&) = delete;

    /// Zeroes all tables, times and qualities.
    void clear();

    /// @param area  one for which the type has its own array
    /// @param type  database type code, 1 to 11
    /// @param num   variable, from 1
    template <class T>
    void put(Area area, int type, int num, std::size_t offset, const T& value) {
        sim::store(at(area, type, num) + offset, value);
    }
    /// Puts the bytes, without a closing NUL, into the passport.
    void putText(int type, int num, std::size_t offset, std::string_view bytes);
    void setQuality(int type, int num, std::uint32_t quality);
    void setTime(int type, int num, std::int64_t seconds, std::int64_t microseconds);

    /// The database process ends.
    void stop();

    /// How many variables of each type the database process announces, at first kCounts.
    sim::Counts& announced;

  private:
    std::byte* at(Area area, int type, int num) const;
    std::byte* makeTable(int index, std::size_t bytes);
    [[noreturn]] void serve() const;
    void start();

    pid_t process_ = -1;
    sim::DatabaseMemory memory_;
    std::vector<std::span<std::byte>> tables_;  // what clear() zeroes
};

extern ControllerDatabase database;
