#include "server/values/TimeQuality.h"
#include "tests/support/basics.h"

static UA_DateTime ticks(std::int64_t seconds) {
    constexpr UA_DateTime kEpoch = 116'444'736'000'000'000;  // 1970
    return kEpoch + seconds * 10'000'000;
}

TEST(Time, BecomesTicksSince1601) {
    EXPECT_EQ(timevalToUaDateTime({1, 2}), ticks(1) + 20);
    EXPECT_EQ(timevalToUaDateTime({-1, 999'999}), ticks(0) - 10) << "before 1970";
    EXPECT_EQ(timevalToUaDateTimeOperative({4'000'000'000, 0}), ticks(4'000'000'000))
        << "beyond 32 bits";
}
