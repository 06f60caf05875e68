#include "server/history/ArchivedValue.h"

#include "server/history/ArchiveTime.h"
#include "server/history/OpcTimes.h"
#include "server/opcua/UaHandle.h"
#include "tests/support/basics.h"

TEST(ArchivedValue, EndsIntegersAtTheirLimits) {
    const struct {
        float number;
        UA_Int64 want;
    } cases[] = {{std::nanf(""), 0},
                 {9.223372036854775807e18F, std::numeric_limits<UA_Int64>::max()},
                 {-9.223372e18F, -9223372036854775807 - 1},
                 {-INFINITY, std::numeric_limits<UA_Int64>::min()}};
    for (const auto& [number, want] : cases) {
        OwnedDataValue value;
        OPCHDAITEMVALUE archived{};
        archived.vt = jxo::kVtInteger;
        archived.value.number = number;
        toDataValue(archived, UA_TIMESTAMPSTORETURN_BOTH, *value);
        ASSERT_TRUE(UA_Variant_hasScalarType(&value->value, &UA_TYPES[UA_TYPES_INT64])) << number;
        EXPECT_EQ(*static_cast<UA_Int64*>(value->value.data), want) << number;
    }
}

TEST(OpcTimes, TakeMicrosecondsAndFormatLocalTime) {
    const timeval time = convertUADateTimeToTimeval(1'500'042);
    EXPECT_EQ(time.tv_sec, 1);
    EXPECT_EQ(time.tv_usec, 500'042);
    setenv("TZ", "XXX-3", 1);
    tzset();
    EXPECT_EQ(format_opc_time({1'782'892'800, 7'999}), "2026-07-01 11:00:00.007");
    unsetenv("TZ");
    tzset();
}

static UA_DateTime ticks(std::int64_t seconds) {
    constexpr UA_DateTime kEpoch = 116'444'736'000'000'000;  // 1970
    return kEpoch + seconds * 10'000'000;
}

/// Both sides of a change of clocks are asked by a client in tests/system.
TEST(ArchiveTime, OfAClientIsTakenWhateverItIs) {
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
