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

/// Whether daylight saving is in force now. The offset that is added to a time before it is broken
/// down is today's, so mktime has to subtract the same one, whatever the date's own would be.
int daylightSavingNow() {
    const time_t now = time(nullptr);
    tm local{};
    return localtime_r(&now, &local) != nullptr ? local.tm_isdst : 0;
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
    return time.tv_usec * kTicksPerMicrosecond + time.tv_sec * kTicksPerSecond + kUnixEpoch;
}

UA_DateTime timevalToUaDateTimeOperative(const timeval& time) {
    return timevalToUaDateTime(time);
}

timeval uaDateTimeToTimeval(UA_DateTime dateTime) {
    const bool clamped = dateTime > kLastArchiveTime;
    const UA_DateTimeStruct parts = UA_DateTime_toStruct(
        clamped ? kLastArchiveTime
                : std::max(dateTime, kEarliestTime) + UA_DateTime_localTimeUtcOffset());

    tm calendar{};
    calendar.tm_sec = parts.sec;
    calendar.tm_min = parts.min;
    calendar.tm_hour = parts.hour;
    calendar.tm_mday = parts.day;
    calendar.tm_mon = parts.month - 1;
    calendar.tm_year = parts.year - 1900;
    calendar.tm_isdst = clamped ? -1 : daylightSavingNow();
    const time_t seconds = mktime(&calendar);
    if (seconds == -1) return {0, 0};
    return {seconds, static_cast<suseconds_t>(parts.milliSec) * 1000};
}
