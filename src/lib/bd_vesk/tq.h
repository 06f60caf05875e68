#pragma once

#include <sys/time.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "lib/bd_vesk/layout.h"
#include "lib/bd_vesk/shmfield.h"

/// Time stamp, quality and flags of one variable, in the layout of shared memory.
struct TQF {
    timeval Time;           //  0  of the last change, s and us since 1970 (UTC)
    std::uint32_t Quality;  // 16  OPC DA quality; only the bits 0xC0 count
    std::uint32_t Flags;    // 20
};
using TimeQuality = TQF;

VESK_SIZE(timeval, 16);
VESK_FIELD(timeval, tv_usec, 8);
VESK_SIZE(TQF, 24);
VESK_FIELD(TQF, Quality, 16);
VESK_FIELD(TQF, Flags, 20);
static_assert(alignof(TQF) == 8, "fields of the table are single loads and stores");

/// The time-quality-flags table: for each variable of the types VA, AV, HI, DI and DO one record,
/// in five sub-tables of that order.
///
/// After construction there is no table; TQInit attaches the controller's, TQInitSnap makes a
/// private one, and only one of the two is possible. The table keeps the shape that the counts gave
/// it then. Types are 0 to 4 here, records count from 0. Without a table, and for a type or record
/// outside the table or not below the current count, getters return 0 (null, {0, 0}) and setters
/// -1.
///
/// The table is used without locks: quality and flags are single loads and stores, a time is two,
/// so that a reader may meet the seconds of one stamp with the microseconds of the next. The object
/// itself is used from one thread.
class TQManager {
  public:
    static constexpr int kTypes = 5;

    /// @param counts  variables of each of the five types, not owned, valid as long as this object;
    ///                null: the controller's own counts are attached, by TQInit if they are not
    ///                there yet. Without them the table has no records.
    explicit TQManager(std::uint16_t* counts);
    /// Detaches; removes the shared table if this object made it.
    ~TQManager();
    TQManager(const TQManager&) = delete;
    TQManager& operator=(const TQManager&) = delete;

    /// Attaches the shared table, or makes it, zeroed, when there is none. The controller's counts
    /// are attached again: they may have been created, or created again, since.
    /// @param debug  non-zero: the debug table, filled from the normal one, which must be there
    /// @return 0; -1 without a table or when there is a private one already.
    int TQInit(char debug);

    /// Makes a private zeroed table. @return 0; -1 when the shared one is attached.
    int TQInitSnap();

    /// Copies the shared table into the private or shared one of `other`, not owned. Records that
    /// are written meanwhile may be copied half old, half new.
    /// @return 0; -1 when this table is not shared, or `other` has no record (0, 0) or fewer
    ///         records.
    int TQGenerateSnapFor(TQManager* other);

    /// The record itself, for use in place; valid as long as this object.
    TimeQuality* TQGetTQFPointer(char type, std::uint16_t index) const {
        return record(static_cast<std::uint8_t>(type), index);
    }

    timeval TQGetTime(char type, std::uint16_t index) const {
        return timeOf(record(static_cast<std::uint8_t>(type), index));
    }
    unsigned TQGetQuality(char type, std::uint16_t index) const {
        return qualityOf(record(static_cast<std::uint8_t>(type), index));
    }
    unsigned TQGetFlags(char type, std::uint16_t index) const {
        const TQF* const r = record(static_cast<std::uint8_t>(type), index);
        return r != nullptr ? loadField<std::uint32_t>(&r->Flags) : 0;
    }

    int TQSetTime(char type, std::uint16_t index, timeval time);
    int TQSetQuality(char type, std::uint16_t index, unsigned quality);
    int TQSetFlags(char type, std::uint16_t index, unsigned flags);

    /// Kernel id of the shared table; -1 without one.
    int TQSegmentId() const { return is_shared ? sharedId_ : -1; }

    /// Writes all records to standard output, times as local time.
    void TQPrintAll() const;

  protected:
    /// For a type that has records in counts_.
    std::uint16_t countNow(std::size_t type) const {
        return loadField<std::uint16_t>(TQNumVar + type);
    }

    // The record may be null.
    static timeval timeOf(const TQF* r) {
        if (r == nullptr) return {};
        return {loadField<decltype(timeval::tv_sec)>(&r->Time.tv_sec),
                loadField<decltype(timeval::tv_usec)>(&r->Time.tv_usec)};
    }
    static unsigned qualityOf(const TQF* r) {
        return r != nullptr ? loadField<std::uint32_t>(&r->Quality) : 0;
    }

    // Names as the controller's other code has them.
    char is_attached = 0;               ///< the counts were attached by this object
    char is_shared = 0;                 ///< the table is the shared one
    char is_alloc = 0;                  ///< the table is private
    int id_TQDBValues = 0;              ///< kernel id of the shared table if this object made it
    int TQVarsAmmount = 0;              ///< records of all types
    std::uint16_t* TQNumVar = nullptr;  ///< the counts as others see and write them; null without
    /// Records of each sub-table of the current table.
    std::array<std::uint16_t, kTypes> counts_{};
    std::array<TQF*, kTypes> TQDBValues{};  ///< start of each sub-table; null without a table

  private:
    [[nodiscard]] TQF* record(std::uint8_t type, std::uint16_t index) const {
        if (type >= kTypes || index >= counts_[type]) return nullptr;
        TQF* const table = TQDBValues[type];
        return table != nullptr && index < countNow(type) ? table + index : nullptr;
    }
    void attachCounts();
    void takeCounts();
    [[nodiscard]] std::size_t tableSize() const;
    [[nodiscard]] TQF* openShared(char debug);
    void useTable(TQF* table);
    void releaseShared();

    bool created_ = false;  // this object made the shared table; an id of 0 is a valid one
    int sharedId_ = -1;
    std::unique_ptr<TQF[]> private_;
};
