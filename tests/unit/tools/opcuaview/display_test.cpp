#include <open62541/types_generated.h>

#include "tests/support/basics.h"
#include "tools/client/fair_shares.h"
#include "tools/client/format.h"
#include "tools/opcuaview/table.h"
#include "tools/text/text.h"

using testing::ElementsAre;

namespace tools::opcuaview {

TEST(Text, IsMeasuredCutAndShownSafely) {
    // Cyrillic takes two bytes and one column, a combining accent none, a wide character two, and a
    // malformed byte one.
    for (const auto& [text, width] :
         {std::pair("Котёл", 5), {"е\xCC\x81", 1}, {"温度", 4}, {"a\xFFz", 3}})
        EXPECT_EQ(displayWidth(text), width) << text;
    const std::tuple<const char*, std::string, std::string> cases[] = {
        {"filled", fitted("Котёл", 7), "Котёл  "},
        {"to the right", fitted("12.5", 6, Align::right), "  12.5"},
        {"no half of a wide character", fitted("温度計", 4), "温… "},
        {"steers no terminal", printable("\x1b[2Jстоп\n\x07"), "?[2Jстоп??"},
        {"nor by one character", printable("\xC2\x9B[m"), "?[m"},
        {"a malformed byte", printable("ок\xFF"), "ок\xEF\xBF\xBD"},
        {"a NUL", printable(std::string_view("a\0b", 3)), "a?b"},
        {"Cyrillic has small letters", lowered("VA_Ёлка_ТМ\xFFЯ"), "va_ёлка_тм\xFFя"},
        {"flags beside the reason", formatQuality(0x00000480U), "Good"},
        {"a plain quality", formatQuality(0x803A0000U), "BadNotReadable"},
        {"another one", formatQuality(0xBFFF0000U), "0xBFFF0000"},
    };
    for (const auto& [why, got, want] : cases)
        EXPECT_EQ(got, want) << why;
}

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

TEST(FormatTime, IsLocalWithMilliseconds) {
    setenv("TZ", "MSK-3", 1);
    tzset();
    // 2021-01-01 00:00:00 UTC: 1 609 459 200 s after 1970, which is 11 644 473 600 s after 1601.
    constexpr UA_DateTime kNewYear = (1'609'459'200LL + 11'644'473'600LL) * 10'000'000;
    EXPECT_EQ(formatTime(kNewYear + 9'999), "2021-01-01 03:00:00.000");
    EXPECT_EQ(formatTime(kNewYear - 10'000), "2021-01-01 02:59:59.999");
    EXPECT_EQ(formatTime(116'444'736'000'000'000 - 15'000'000), "1970-01-01 02:59:58.500")
        << "before 1970 the milliseconds still count upwards";
}

TEST(TableRenderer, AlignsByColumnsMarksChangesAndNeverExceedsTheWidth) {
    const auto twoColumns = [] { return TableRenderer{{{"Тег", 4, 1}, {"Значение", 6, 2}}}; };
    TableRenderer table = twoColumns();
    std::vector<TableRenderer::Row> rows = {
        {{"ТМ1"}, {"7.5", Align::right, Emphasis::changed}},
        {{"Котёл2"}, {"плохо", Align::left, Emphasis::bad}},
    };
    EXPECT_THAT(table.render(rows, 80, false), ElementsAre("Тег     Значение",  //
                                                           "ТМ1         7.5*",  //
                                                           "Котёл2  плохо   "));
    EXPECT_EQ(table.render(rows, 80, true)[2], "Котёл2  \x1b[31mплохо   \x1b[0m");

    table = twoColumns();
    rows = {{{"Давление"}, {"1234567890"}}};
    EXPECT_EQ(table.render(rows, 17, false)[1], "Давление  123456…") << "highest rank first";
    EXPECT_EQ(table.render(rows, 14, false)[1], "Давле…  12345…");
    for (int width = 1; width < 14; ++width)
        EXPECT_LE(displayWidth(table.render(rows, width, false)[1]), width);
    EXPECT_EQ(displayWidth(table.render({{{"Д"}, {"1"}}}, 80, false)[1]), 8 + 2 + 10)
        << "does not narrow between frames";
}

TEST(FairShares, GivesEveryFolderItsPart) {
    EXPECT_THAT(fairShares({2, 100, 0, 100}, 30), ElementsAre(2, 14, 0, 14));
    EXPECT_THAT(fairShares({5, 5}, 3), ElementsAre(2, 1)) << "the first gets what does not divide";
}

}  // namespace tools::opcuaview
