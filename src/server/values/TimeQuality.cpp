#include "server/values/TimeQuality.h"

namespace {

constexpr UA_DateTime kTicksPerSecond = 10'000'000;
constexpr UA_DateTime kTicksPerMicrosecond = 10;
constexpr UA_DateTime kUnixEpoch = 116'444'736'000'000'000;  // 1970-01-01
constexpr unsigned kQualityBits = 0xC0;
constexpr unsigned kQualityBad = 0x00;
constexpr unsigned kQualityGood = 0xC0;

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
    // Unsigned, so that any contents of shared memory wrap instead of overflowing.
    const auto ticks = static_cast<UA_UInt64>(time.tv_usec) * kTicksPerMicrosecond +
                       static_cast<UA_UInt64>(time.tv_sec) * kTicksPerSecond + kUnixEpoch;
    return static_cast<UA_DateTime>(ticks);
}

UA_DateTime timevalToUaDateTimeOperative(const timeval& time) {
    return timevalToUaDateTime(time);
}
