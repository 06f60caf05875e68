#include <open62541/types_generated.h>

#include "support/basics.h"
#include "tools/opcuaview/format.h"
#include "tools/opcuaview/table.h"
#include "tools/opcuaview/text.h"

using testing::ElementsAre;

namespace opcuaview {

TEST(DisplayWidth, CountsTerminalColumns) {
    EXPECT_EQ(displayWidth("Котёл"), 5) << "Cyrillic takes two bytes and one column";
    EXPECT_EQ(displayWidth("е\xCC\x81"), 1) << "a combining accent takes no column";
    EXPECT_EQ(displayWidth("温度"), 4) << "a wide character takes two";
    EXPECT_EQ(displayWidth("a\xFFz"), 3) << "a malformed byte is shown as one";
}

TEST(Fitted, FillsExactlyTheColumns) {
    EXPECT_EQ(fitted("Котёл", 7), "Котёл  ");
    EXPECT_EQ(fitted("12.5", 6, Align::right), "  12.5");
    EXPECT_EQ(fitted("Давление", 5), "Давл…");
    EXPECT_EQ(fitted("温度計", 4), "温… ") << "a wide character that would be halved is left out";
}

TEST(Printable, KeepsAServerFromSteeringTheTerminal) {
    EXPECT_EQ(printable("\x1b[2Jстоп\n\x07"), "?[2Jстоп??");
    EXPECT_EQ(printable("\xC2\x9B[m"), "?[m") << "an escape sequence in its one-character form";
    EXPECT_EQ(printable("ок\xFF"), "ок\xEF\xBF\xBD");
    EXPECT_EQ(printable(std::string_view("a\0b", 3)), "a?b");
}

TEST(Lowered, CoversCyrillic) {
    EXPECT_EQ(lowered("VA_Ёлка_ТМ"), "va_ёлка_тм");
    EXPECT_EQ(lowered("\xFFЯ"), "\xFFя") << "a malformed byte stays what it is";
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

static TableRenderer twoColumns() {
    return TableRenderer{{{"Тег", 4, 1}, {"Значение", 6, 2}}};
}

TEST(TableRenderer, AlignsByColumnsAndMarksChanges) {
    TableRenderer table = twoColumns();
    const std::vector<TableRenderer::Row> rows = {
        {{"ТМ1"}, {"7.5", Align::right, Emphasis::changed}},
        {{"Котёл2"}, {"плохо", Align::left, Emphasis::bad}},
    };
    EXPECT_THAT(table.render(rows, 80, false), ElementsAre("Тег     Значение",  //
                                                           "ТМ1         7.5*",  //
                                                           "Котёл2  плохо   "));
    EXPECT_EQ(table.render(rows, 80, true)[2], "Котёл2  \x1b[31mплохо   \x1b[0m");
}

TEST(TableRenderer, ShrinksTheColumnOfHighestRankFirstAndNeverExceedsTheWidth) {
    TableRenderer table = twoColumns();
    const std::vector<TableRenderer::Row> rows = {{{"Давление"}, {"1234567890"}}};
    EXPECT_EQ(table.render(rows, 17, false)[1], "Давление  123456…");
    EXPECT_EQ(table.render(rows, 14, false)[1], "Давле…  12345…");
    for (int width = 1; width < 14; ++width)
        EXPECT_LE(displayWidth(table.render(rows, width, false)[1]), width);
    EXPECT_EQ(displayWidth(table.render({{{"Д"}, {"1"}}}, 80, false)[1]), 8 + 2 + 10)
        << "does not narrow between frames";
}

TEST(FairShares, GivesEveryFolderItsPart) {
    EXPECT_THAT(fairShares({2, 100, 0, 100}, 30), ElementsAre(2, 14, 0, 14));
    EXPECT_THAT(fairShares({5, 5}, 3), ElementsAre(2, 1))
        << "what does not divide goes to the first";
    EXPECT_THAT(fairShares({1, 2, 3}, 100), ElementsAre(1, 2, 3));
    EXPECT_THAT(fairShares({}, 5), ElementsAre());
}

}  // namespace opcuaview
