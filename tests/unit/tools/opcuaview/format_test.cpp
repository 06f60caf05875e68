#include "tools/opcuaview/format.h"

#include <gtest/gtest.h>
#include <open62541/types_generated.h>

#include <cstdlib>
#include <ctime>
#include <vector>

namespace opcuaview {

TEST(FormatValue, ShowsScalarsAsAnOperatorReadsThemAndCutsArrays) {
    UA_Float number = 0.1F;
    UA_String text = UA_STRING(const_cast<char*>("Насос\x1b[1m"));
    UA_Variant scalar;
    UA_Variant_setScalar(&scalar, &number, &UA_TYPES[UA_TYPES_FLOAT]);
    EXPECT_EQ(formatValue(scalar), "0.1");
    UA_Variant_setScalar(&scalar, &text, &UA_TYPES[UA_TYPES_STRING]);
    EXPECT_EQ(formatValue(scalar), "Насос?[1m");
    EXPECT_EQ(formatValue(UA_Variant{}), "—");

    std::vector<UA_Float> numbers{1, 2.5, 3, 4, 5, 6, 7, 8, 9};
    UA_Variant variant;
    UA_Variant_setArray(&variant, numbers.data(), 2, &UA_TYPES[UA_TYPES_FLOAT]);
    EXPECT_EQ(formatValue(variant), "[1, 2.5]");
    variant.arrayLength = numbers.size();
    EXPECT_EQ(formatValue(variant), "[1, 2.5, 3, 4, 5, 6, 7, 8, …] (9)");
    EXPECT_FALSE(isNumber(variant));
    UA_Variant_setArray(&variant, UA_EMPTY_ARRAY_SENTINEL, 0, &UA_TYPES[UA_TYPES_FLOAT]);
    EXPECT_EQ(formatValue(variant), "[]");
}

TEST(FormatQuality, NamesThePlainOnesAndTheRest) {
    EXPECT_EQ(formatQuality(0), "Good");
    EXPECT_EQ(formatQuality(0x803A0000U), "BadNotReadable");
    EXPECT_EQ(formatQuality(0x00000480U), "Good") << "flags beside the reason";
    EXPECT_EQ(formatQuality(0xBFFF0000U), "0xBFFF0000");
}

TEST(FormatTime, IsLocalWithMilliseconds) {
    ASSERT_EQ(setenv("TZ", "MSK-3", 1), 0);
    tzset();
    // 2021-01-01 00:00:00 UTC: 1 609 459 200 s after 1970, which is 11 644 473 600 s after 1601.
    constexpr UA_DateTime kNewYear = (1'609'459'200LL + 11'644'473'600LL) * 10'000'000;
    EXPECT_EQ(formatTime(kNewYear + 9'999), "2021-01-01 03:00:00.000");
    EXPECT_EQ(formatTime(kNewYear - 10'000), "2021-01-01 02:59:59.999");
    EXPECT_EQ(formatTime(116'444'736'000'000'000 - 15'000'000), "1970-01-01 02:59:58.500")
        << "before 1970 the milliseconds still count upwards";
}

}  // namespace opcuaview
