#include <open62541/types_generated.h>

#include "tests/support/basics.h"
#include "tools/client/fair_shares.h"
#include "tools/client/format.h"
#include "tools/opcuaview/columns.h"
#include "tools/opcuaview/plant_texts.h"
#include "tools/opcuaview/rows.h"
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

namespace {

constexpr UA_StatusCode kBad = 0x80000000U;
constexpr UA_StatusCode kUncertain = 0x40000000U;

Row row(const char* tag, const char* name, const char* attribute, double number, int age,
        UA_StatusCode status = 0, std::size_t changes = 0) {
    Row made{tag, name, attribute};
    made.nodeId = "ns=2;s=Котельная." + made.tag;
    made.reading.number = number;
    made.reading.isNumber = made.reading.hasValue = true;
    made.reading.time = age == 0 ? 0 : (1'000'000 - age) * UA_DATETIME_SEC;
    made.reading.status = status;
    made.wasRead = true;
    made.changes = changes;
    makeSearchable(made);
    return made;
}

}  // namespace

TEST(Rows, AreFilteredByWordsAndSortedByColumns) {
    std::vector<Row> rows{row("VA_10", "ПЕЧЬ Давление", "Val", 9.5, 5, kUncertain, 3),
                          row("VA_2", "", "Val", -1, 0, 0, 7),
                          row("VA_1", "Насос", "On", 10, 90, kBad)};
    rows.push_back(row("RV_3", "Ёмкость", "Text", NAN, 3));
    rows.back().reading.isNumber = false;
    rows.back().reading.value = "12";
    using Want = std::vector<std::size_t>;
    const struct {
        const char* why;
        const char* filter;
        Order order;
        Want want;
    } cases[] = {
        {"as browsed", "", {}, {0, 1, 2, 3}},
        {"in reverse", "", {{}, true}, {3, 2, 1, 0}},
        {"another case, Cyrillic", "ёмк", {}, {3}},
        {"words in any column and order", "val  печь", {}, {0}},
        {"a node id", "котельная.va_1", {}, {0, 2}},
        {"not across two texts", "va_10п", {}, {}},
        {"numbers in names", "", {Column::tag}, {3, 2, 1, 0}},
        {"no name comes last", "", {Column::name}, {3, 2, 0, 1}},
        {"even in reverse", "", {Column::name, true}, {0, 2, 3, 1}},
        {"numbers before texts", "", {Column::value}, {1, 0, 2, 3}},
        {"the worst first", "", {Column::quality}, {2, 0, 1, 3}},
        {"the oldest first, no time last", "", {Column::age}, {2, 0, 3, 1}},
        {"the most changed first", "va", {Column::changes}, {1, 0, 2}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(chosenRows(rows, c.filter, c.order), c.want) << c.why;
    rows[0].reading.number = NAN;  // has no place among the numbers
    EXPECT_EQ(chosenRows(rows, "", {Column::value, true}), (Want{3, 2, 1, 0}));
}

TEST(Rows, ShowChangesMarksAndAges) {
    Row changing{"VA_1", {}, {}};
    for (const char* value : {"1", "1", "2", "2"}) {
        Reading reading;
        reading.value = value;
        update(changing, reading, Clock::time_point{});
    }
    EXPECT_EQ(changing.changes, 1U) << "the first reading is none";

    constexpr UA_DateTime kNow = 1'000'000 * UA_DATETIME_SEC;
    constexpr UA_DateTime kMinute = 60 * UA_DATETIME_SEC;
    const std::tuple<int, UA_StatusCode, char, const char*> cases[] = {
        {59, 0, ' ', "59 s"},           {60, 0, '~', "1 min"}, {7200, kUncertain, '?', "2 h"},
        {3 * 86'400, kBad, '!', "3 d"}, {-5, 0, ' ', "-5 s"},  {0, 0, ' ', "—"},
    };
    for (const auto& [age, status, sign, text] : cases) {
        const Reading reading = row("", "", "", 0, age, status).reading;
        EXPECT_EQ(signOf(markOf(reading, kNow, kMinute)), sign) << text;
        EXPECT_EQ(ageText(reading, kNow, Language::en), text);
        EXPECT_NE(signOf(markOf(reading, kNow, 0)), '~') << text;
    }
}

TEST(ColumnWidths, ShrinkByRankAndLeaveOutWhatDoesNotFit) {
    const std::vector<ColumnRule> rules{{4, 1}, {6, 2}, {3, 3}};
    const std::tuple<int, std::vector<int>> cases[] = {
        {80, {8, 10, 5}}, {26, {8, 10, 4}}, {20, {7, 6, 3}},
        {16, {8, 6, 0}},  {5, {5, 0, 0}},   {1, {1, 0, 0}},
    };
    for (const auto& [width, want] : cases)
        EXPECT_EQ(columnWidths(rules, {8, 10, 5}, width), want) << width;
    EXPECT_THAT(columnWidths(rules, {8, 0, 5}, 3), ElementsAre(3, 0, 0)) << "no text, no column";
}

TEST(PlantTexts, AreKnownByTheirNames) {
    for (const auto& [name, label] : {std::pair("Позиция", Label::designation),
                                      {"ИМЯ2", Label::name},
                                      {"Unit", Label::unit},
                                      {"Имянов", Label::none},
                                      {"", Label::none}})
        EXPECT_EQ(labelOf(name), label) << name;
    const Item item{{}, "VA_7", "Value"};
    for (const char* empty : {"", "Value", "Value.A", "VA_7.A29"})
        EXPECT_FALSE(isTelling(empty, item)) << empty;
    EXPECT_TRUE(isTelling("Value of the pressure", item));
}

TEST(FairShares, GivesEveryFolderItsPart) {
    EXPECT_THAT(fairShares({2, 100, 0, 100}, 30), ElementsAre(2, 14, 0, 14));
    EXPECT_THAT(fairShares({5, 5}, 3), ElementsAre(2, 1)) << "the first gets what does not divide";
}

}  // namespace tools::opcuaview
