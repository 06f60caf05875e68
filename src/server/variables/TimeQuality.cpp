#include "server/variables/TimeQuality.h"

#include <algorithm>
#include <ctime>
#include <limits>

namespace {

constexpr UA_DateTime kTicksPerSecond = 10'000'000;
constexpr UA_DateTime kTicksPerMicrosecond = 10;
constexpr UA_DateTime kUnixEpoch = 116'444'736'000'000'000;        // 1970-01-01
constexpr UA_DateTime kLastArchiveTime = 137'918'592'000'000'000;  // 2038-01-18
/// A client may send any time; from this one on the local offset can be added to it.
constexpr UA_DateTime kEarliestTime =
    std::numeric_limits<UA_DateTime>::min() + 24 * 3600 * kTicksPerSecond;

constexpr unsigned kQualityBits = 0xC0;
constexpr unsigned kQualityBad = 0x00;
constexpr unsigned kQualityGood = 0xC0;

/// The tm_isdst with which mktime subtracts the offset that was added to a time before it was
/// broken down, whatever the date's own would be. That offset is the current one; for some hours
/// around a change, in which the library is ahead or behind, it is that of the change's other side.
int daylightSavingWith(UA_DateTime addedOffset) {
    const time_t now = time(nullptr);
    tm local{};
    if (localtime_r(&now, &local) == nullptr) return 0;
    if (local.tm_gmtoff * kTicksPerSecond == addedOffset) return local.tm_isdst;
    return local.tm_isdst == 0 ? 1 : 0;
}

}  // namespace

UA_StatusCode qualityConvertFromDA(unsigned quality) {
    switch (quality & kQualityBits) {
        case kQualityGood:
            return UA_STATUSCODE_GOOD;
        case kQualityBad:
            return UA_STATUSCODE_BAD;
        default:
            return UA_STATUSCODE_UNCERTAIN;
    }
}

UA_DateTime timevalToUaDateTime(const timeval& time) {
    // Unsigned: what foreign memory holds may overflow, which wraps then.
    const auto ticks = static_cast<UA_UInt64>(time.tv_usec) * kTicksPerMicrosecond +
                       static_cast<UA_UInt64>(time.tv_sec) * kTicksPerSecond + kUnixEpoch;
    return static_cast<UA_DateTime>(ticks);
}

UA_DateTime timevalToUaDateTimeOperative(const timeval& time) {
    return timevalToUaDateTime(time);
}

timeval uaDateTimeToTimeval(UA_DateTime dateTime) {
    const bool clamped = dateTime > kLastArchiveTime;
    const UA_DateTime offset = UA_DateTime_localTimeUtcOffset();
    const UA_DateTimeStruct parts = UA_DateTime_toStruct(
        clamped ? kLastArchiveTime : std::max(dateTime, kEarliestTime) + offset);

    tm calendar{};
    calendar.tm_sec = parts.sec;
    calendar.tm_min = parts.min;
    calendar.tm_hour = parts.hour;
    calendar.tm_mday = parts.day;
    calendar.tm_mon = parts.month - 1;
    calendar.tm_year = parts.year - 1900;
    calendar.tm_isdst = clamped ? -1 : daylightSavingWith(offset);
    const time_t seconds = mktime(&calendar);
    if (seconds == -1) return {0, 0};
    return {seconds, static_cast<suseconds_t>(parts.milliSec) * 1000};
}
