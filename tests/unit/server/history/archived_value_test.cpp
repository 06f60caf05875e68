#include "server/history/ArchivedValue.h"

#include "server/history/OpcTimes.h"
#include "support/basics.h"

TEST(ArchivedValue, EndsIntegersAtTheirLimits) {
    const struct {
        float number;
        UA_Int64 want;
    } cases[] = {{std::nanf(""), 0},
                 {9.223372036854775807e18F, std::numeric_limits<UA_Int64>::max()},
                 {-9.223372e18F, -9223372036854775807 - 1},
                 {-INFINITY, std::numeric_limits<UA_Int64>::min()}};
    for (const auto& [number, want] : cases) {
        UA_DataValue value{};
        OPCHDAITEMVALUE archived{};
        archived.vt = jxo::kVtInteger;
        archived.value.number = number;
        toDataValue(archived, UA_TIMESTAMPSTORETURN_BOTH, value);
        ASSERT_TRUE(UA_Variant_hasScalarType(&value.value, &UA_TYPES[UA_TYPES_INT64])) << number;
        EXPECT_EQ(*static_cast<UA_Int64*>(value.value.data), want) << number;
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
