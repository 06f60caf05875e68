#pragma once

#include <sys/time.h>

#include <cstdint>
#include <iosfwd>
#include <string>

/// Time as journal records hold it.
struct timeval_32 {
    std::int32_t tv_sec;   ///< 0  s since 1970
    std::int32_t tv_usec;  ///< 4  microseconds
};
static_assert(sizeof(timeval_32) == 8);

/// A point in time or a duration, in seconds and microseconds. A normalised value has 0 to 999999
/// microseconds; the arithmetic expects that of its operands and nothing enforces it. Text forms
/// are in local time.
class TimeType : public timeval {
  public:
    TimeType() : TimeType(0L, 0L) {}
    // A system time and a record's time are values of this type: both convert implicitly.
    TimeType(const timeval& time) : timeval(time) {}
    TimeType(const timeval_32& time) : TimeType(time.tv_sec, time.tv_usec) {}
    TimeType(long seconds, long microseconds) : timeval{} {
        tv_sec = seconds;
        tv_usec = microseconds;
    }
    TimeType(int seconds, int microseconds) : TimeType(long{seconds}, long{microseconds}) {}
    explicit TimeType(long microseconds)
        : TimeType(microseconds / 1000000, microseconds % 1000000) {}

    void Set() { *this = TimeType(); }
    void Set(const timeval& time) { *this = TimeType(time); }
    void Set(const timeval_32& time) { *this = TimeType(time); }
    /// Stores both parts as they are, not normalised.
    void Set(long seconds, long microseconds) { *this = TimeType(seconds, microseconds); }
    void Set(int seconds, int microseconds) { *this = TimeType(seconds, microseconds); }
    /// Both parts truncate towards zero: a negative value is not normalised.
    void Set(long microseconds) { *this = TimeType(microseconds); }

    /// The system's time.
    void UpdateWithCurrent();
    static TimeType GetCurrent();
    /// Time since the origin of the system's clock ticks, in steps of a tick.
    void UpdateWithAbsClock();

    /// Seconds in single precision: good for durations, some minutes off for today's date.
    float GetSecInFloat() const;

    /// KEPT: durations are never negative: (0, 0) unless `b` is earlier than this. Required by the
    /// interface.
    TimeType operator-(const TimeType& b) const;
    TimeType operator+(const TimeType& b) const;
    /// (0, 0) for n = 0.
    TimeType operator/(int n) const;
    TimeType operator*(int n) const;

    bool operator<(const TimeType& b) const;
    bool operator==(const TimeType& b) const;
    bool operator<=(const TimeType& b) const { return *this < b || *this == b; }
    bool operator>=(const TimeType& b) const { return !(*this < b); }
    bool operator>(const TimeType& b) const { return !(*this <= b); }

    /// "dd/mm/yyyy hh:mm:ss.mmm", day and hour padded with a blank. The buffer is the process's:
    /// the next call overwrites it, and threads must use GetDateString_r.
    const char* GetDateString() const;
    std::string GetDateString_r() const;
    /// "ddmm hh_mm_ss.mmm", in a buffer of the process.
    const char* GetDateStringForFilename() const;
    /// "seconds.microseconds", both as unsigned 32-bit values, in a buffer of the process.
    const char* GetString() const;
    /// The value as the stream operator writes it, and a line end, to standard output.
    void Print() const;

    /// KEPT: a busy wait that reads the clock and never yields the processor; for short waits only.
    /// A clock that is set back prolongs it. Required by the interface.
    static void Sleep(const TimeType& duration);

    /// Common part of two intervals, ends included.
    /// @return 0; -1 when there is none, and then `start` is later than `end`.
    static int GetIntersection(const TimeType& start1, const TimeType& end1, const TimeType& start2,
                               const TimeType& end2, TimeType& start, TimeType& end);
    /// 1 when two intervals share at least an end, else 0.
    static int HasIntersection(const TimeType& start1, const TimeType& end1, const TimeType& start2,
                               const TimeType& end2);
    /// Smallest interval that contains both, even when they do not overlap.
    /// @return 0
    static int GetUnion(const TimeType& start1, const TimeType& end1, const TimeType& start2,
                        const TimeType& end2, TimeType& start, TimeType& end);
    /// Both ends belong to the interval.
    static bool IsPointInInterval(const TimeType& point, const TimeType& start,
                                  const TimeType& end);
};
static_assert(sizeof(TimeType) == sizeof(timeval));

/// "seconds.microseconds", the latter six digits wide.
std::ostream& operator<<(std::ostream& out, const TimeType& time);
