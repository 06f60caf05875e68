#include "server/variables/TimeQuality.h"
#include "support/basics.h"

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

/// Both sides of a change of clocks are asked by a client in tests/system.
TEST(Time, OfAClientIsTakenWhateverItIs) {
    const timeval fine = uaDateTimeToTimeval(ticks(1'790'000'000) + 1'239'999);
    EXPECT_EQ(fine.tv_sec, 1'790'000'000);
    EXPECT_EQ(fine.tv_usec, 123'000) << "parts below a millisecond are dropped";
    EXPECT_EQ(uaDateTimeToTimeval(-1).tv_sec, -11'644'473'601) << "before 1601";
    EXPECT_EQ(uaDateTimeToTimeval(-1).tv_usec, 999'000);
    EXPECT_LT(uaDateTimeToTimeval(std::numeric_limits<UA_DateTime>::min()).tv_sec,
              -900'000'000'000);
    const timeval beforeEpoch = uaDateTimeToTimeval(ticks(-1) + 50'000);
    EXPECT_EQ(beforeEpoch.tv_sec, 0) << "the calendar's answer -1 counts as a failure";
    EXPECT_EQ(beforeEpoch.tv_usec, 0);
}
