#include "server/variables/TimeQuality.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>

static constexpr UA_DateTime kEpoch = 116'444'736'000'000'000;  // 1970

static UA_DateTime ticks(std::int64_t seconds) {
    return kEpoch + seconds * 10'000'000;
}

TEST(Time, BecomesTicksSince1601) {
    EXPECT_EQ(timevalToUaDateTime({1, 2}), kEpoch + 10'000'020);
    EXPECT_EQ(timevalToUaDateTime({-1, 999'999}), kEpoch - 10) << "before 1970";
    EXPECT_EQ(timevalToUaDateTimeOperative({4'000'000'000, 0}), ticks(4'000'000'000))
        << "beyond 32 bits";
}

namespace {

/// The local time zone for a scope.
class Zone {
  public:
    explicit Zone(const std::string& rule) {
        setenv("TZ", rule.c_str(), 1);
        tzset();
    }
    ~Zone() {
        unsetenv("TZ");
        tzset();
    }
    Zone(const Zone&) = delete;
    Zone& operator=(const Zone&) = delete;
};

/// A zone with a summer time of 100 days that began `daysAgo` days ago, so that the test sees both
/// sides of a change whenever it runs.
std::string summerTimeSince(const char* zone, int daysAgo) {
    const time_t now = time(nullptr);
    const auto julianDay = [&](int daysFromNow) {
        return "J" + std::to_string((gmtime(&now)->tm_yday + daysFromNow + 365) % 365 + 1);
    };
    return zone + ("," + julianDay(-daysAgo)) + "," + julianDay(100 - daysAgo);
}

}  // namespace

TEST(LocalCalendar, GivesTheSameInstantInSummerAndWinter) {
    const std::string zones[] = {"XXX-3", summerTimeSince("AAA-1BBB", 50),
                                 summerTimeSince("AAA-1BBB", 200), summerTimeSince("AAA5BBB", 50),
                                 summerTimeSince("AAA5BBB", 200)};
    constexpr std::int64_t k2024 = 1'704'067'200;
    constexpr std::int64_t kTwoYears = 2L * 365 * 86400;
    for (const std::string& zone : zones) {
        SCOPED_TRACE(zone);
        const Zone local(zone);
        for (std::int64_t second = k2024; second < k2024 + kTwoYears; second += 1800) {
            const timeval result = uaDateTimeToTimeval(ticks(second) + 1'239'999);
            ASSERT_EQ(result.tv_sec, second) << "half-hour of a change among them";
            ASSERT_EQ(result.tv_usec, 123'000) << "parts below a millisecond are dropped";
        }
    }
}

TEST(LocalCalendar, TakesWhateverAClientSends) {
    const Zone west("XXX5");
    EXPECT_EQ(uaDateTimeToTimeval(0).tv_sec, -11'644'473'600) << "1601";
    EXPECT_LT(uaDateTimeToTimeval(std::numeric_limits<UA_DateTime>::min()).tv_sec,
              -900'000'000'000);
    const timeval beforeEpoch = uaDateTimeToTimeval(ticks(-1) + 50'000);
    EXPECT_EQ(beforeEpoch.tv_sec, 0) << "the calendar's answer -1 counts as a failure";
    EXPECT_EQ(beforeEpoch.tv_usec, 0);
}
