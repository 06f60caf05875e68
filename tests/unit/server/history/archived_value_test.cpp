#include "server/history/ArchivedValue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "server/history/OpcTimes.h"

static OPCHDAITEMVALUE archived(std::int16_t code, float number) {
    OPCHDAITEMVALUE value{};
    value.vt = static_cast<std::uint16_t>(code);
    value.value.number = number;
    value.seconds = 1;
    value.microseconds = 2;
    value.quality = 0xC0;
    return value;
}

TEST(ArchivedValue, EndsIntegersAtTheirLimits) {
    const struct {
        float number;
        UA_Int64 want;
    } cases[] = {{12.7F, 12},
                 {-3.9F, -3},
                 {std::nanf(""), 0},
                 {9.3e18F, std::numeric_limits<UA_Int64>::max()},
                 {-9.223372e18F, -9223372036854775807 - 1},
                 {-INFINITY, std::numeric_limits<UA_Int64>::min()}};
    for (const auto& [number, want] : cases) {
        UA_DataValue value{};
        toDataValue(archived(jxo::kVtInteger, number), UA_TIMESTAMPSTORETURN_BOTH, value);
        ASSERT_TRUE(UA_Variant_hasScalarType(&value.value, &UA_TYPES[UA_TYPES_INT64])) << number;
        EXPECT_EQ(*static_cast<UA_Int64*>(value.value.data), want) << number;
        EXPECT_TRUE(value.hasValue && value.hasStatus);
        EXPECT_EQ(value.sourceTimestamp, 116'444'736'000'000'000 + 10'000'020);
        EXPECT_EQ(value.serverTimestamp, value.sourceTimestamp);
        UA_DataValue_clear(&value);
    }
}

TEST(ArchivedValue, SetsNothingForUnknownCodesAndOnlyTheTimesThatAreWanted) {
    for (const int code : {0, 2, 6, 8, 0x2004}) {
        UA_DataValue value{};
        toDataValue(archived(static_cast<std::int16_t>(code), 1), UA_TIMESTAMPSTORETURN_BOTH,
                    value);
        EXPECT_FALSE(value.hasValue || value.hasStatus || value.hasSourceTimestamp ||
                     value.hasServerTimestamp || value.value.data != nullptr);
    }
    for (int wanted = 0; wanted < 4; ++wanted) {
        UA_DataValue value{};
        toDataValue(archived(jxo::kVtFloat, 1), static_cast<UA_TimestampsToReturn>(wanted), value);
        EXPECT_EQ(value.hasSourceTimestamp, wanted == 0 || wanted == 2);
        EXPECT_EQ(value.hasServerTimestamp, wanted == 1 || wanted == 2);
        UA_DataValue_clear(&value);
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
