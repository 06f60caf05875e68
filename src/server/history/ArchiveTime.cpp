#include "server/history/ArchiveTime.h"

#include <algorithm>
#include <ctime>

namespace {

constexpr UA_DateTime kTicksPerSecond = 10'000'000;
constexpr UA_DateTime kLastArchiveTime = 137'918'592'000'000'000;  // 2038-01-18

/// Midnight of the last day, taken as local time; 0 when the calendar does not have it.
time_t lastArchiveSecond() {
    const UA_DateTimeStruct parts = UA_DateTime_toStruct(kLastArchiveTime);
    tm calendar{};
    calendar.tm_mday = parts.day;
    calendar.tm_mon = parts.month - 1;
    calendar.tm_year = parts.year - 1900;
    calendar.tm_isdst = -1;
    return std::max<time_t>(mktime(&calendar), 0);
}

}  // namespace

timeval uaDateTimeToTimeval(UA_DateTime dateTime) {
    // KEPT: a later time, which the archive's 32-bit stamps may not hold, is replaced by this day's
    // midnight, and only that is taken as local time. Required by the interface.
    if (dateTime > kLastArchiveTime) return {lastArchiveSecond(), 0};

    // The interface defines this conversion through the local calendar: the zone's offset is added,
    // and mktime subtracts it again. Both cancel out, even around a change of clocks. Leaving them
    // out saves each read two look-ups in the zone's table.
    constexpr UA_DateTime kTicksPerMillisecond = 10'000;
    UA_DateTime seconds = dateTime / kTicksPerSecond;
    UA_DateTime ticks = dateTime % kTicksPerSecond;
    if (ticks < 0) {
        ticks += kTicksPerSecond;
        --seconds;
    }
    seconds -= UA_DATETIME_UNIX_EPOCH / kTicksPerSecond;
    // KEPT: -1 is also mktime's failure. Required by the interface.
    if (seconds == -1) return {0, 0};
    return {seconds, ticks / kTicksPerMillisecond * 1000};
}
