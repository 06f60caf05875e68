#include "tests/support/basics.h"
#include "tools/chart/axes.h"
#include "tools/chart/curve.h"
#include "tools/chart/drawing.h"
#include "tools/chart/ticks.h"

// The font library that the drawing library uses keeps what it has read, and the leak sanitizer takes it for lost.
extern "C" const char*
__lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): the sanitizer's name
    return "leak:libfontconfig";
}

namespace tools {

namespace {

constexpr UA_DateTime kSecond = UA_DATETIME_SEC;
constexpr UA_StatusCode kGood = UA_STATUSCODE_GOOD;
constexpr UA_StatusCode kBad = UA_STATUSCODE_BADSENSORFAILURE;

UA_DateTime unixTime(std::int64_t seconds) {
    return UA_DATETIME_UNIX_EPOCH + seconds * kSecond;
}

}  // namespace

TEST(Chart, ValueAxesHaveRoundMarksAndShareTheirGrid) {
    const struct {
        std::vector<Range> ranges;
        std::vector<std::string> marks;  // of each axis
    } cases[] = {
        {{{76.7, 83.3}}, {"76 78 80 82 84"}},
        {{{0, 1}}, {"0.0 0.2 0.4 0.6 0.8 1.0"}},
        {{{-0.3, 0.3}}, {"-0.3 -0.2 -0.1 0.0 0.1 0.2 0.3"}},
        {{{2e9, 5.5e9}}, {"2e9 3e9 4e9 5e9 6e9"}},
        {{{0, 3.9e-7}}, {"0 1e-7 2e-7 3e-7 4e-7"}},
        {{{12.5, 12.502}}, {"12.5000 12.5005 12.5010 12.5015 12.5020"}},
        {{{-1e300, 1e300}}, {"-1e300 -5e299 0 5e299 1e300"}},
        {{{76.7, 83.3}, {20, 88}}, {"76 78 80 82 84", "20 40 60 80 100"}},
    };
    for (const auto& c : cases) {
        const auto scales = valueScales(c.ranges, 6);
        ASSERT_EQ(scales.size(), c.ranges.size());
        for (std::size_t i = 0; i < scales.size(); ++i) {
            std::string marks;
            for (int tick = 0; tick <= scales[i].intervals; ++tick)
                marks += (tick > 0 ? " " : "") + tickText(scales[i], tick);
            EXPECT_EQ(marks, c.marks[i]);
        }
    }
}

TEST(Chart, TimeAxesHaveRoundLocalTimesOverMidnightAndChangesOfClocks) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    const struct {
        const char* why;
        std::int64_t from;  // s since 1970
        double length;      // s
        int most;
        const char* marks;
    } cases[] = {
        {"below a second", 1'800'000'000, 0.4, 5,
         "09:00:00.000/2027-01-15 09:00:00.100 09:00:00.200 "
         "09:00:00.300 09:00:00.400"},
        {"midnight", 1'799'962'000, 7200, 4, "23:00 00:00/2027-01-15"},
        {"clocks go forward: 02:00 is missing", 1'774'738'800, 5 * 3600, 6,
         "00:00/2026-03-29 01:00 03:00 04:00 05:00 06:00"},
        {"clocks go back: 02:00 comes twice", 1'792'882'800, 4 * 3600, 6,
         "01:00/2026-10-25 02:00 02:00 03:00 04:00"},
        {"but is marked once among every other hour", 1'792'882'800, 9 * 3600, 6,
         "02:00/2026-10-25 04:00 06:00 08:00"},
        {"days", 1'798'500'000, 6 * 86'400, 8, "12-30/2026 12-31 01-01/2027 01-02 01-03 01-04"},
        {"weeks begin with Monday", 1'798'500'000, 30 * 86'400, 6, "01-04/2027 01-11 01-18 01-25"},
        {"months", 1'798'500'000, 100 * 86'400, 5, "2027-01 2027-02 2027-03 2027-04"},
        {"nothing round between", 1'800'000'001, 0.0001, 5, ""},
    };
    for (const auto& c : cases) {
        std::string marks;
        const UA_DateTime from = unixTime(c.from) + (c.length < 0.001 ? 1 : 0);
        const auto length = static_cast<UA_DateTime>(c.length * 1e7);
        for (const TimeTick& tick : timeTicks(from, from + length, c.most))
            marks +=
                (marks.empty() ? "" : " ") + tick.text + (tick.date.empty() ? "" : "/") + tick.date;
        EXPECT_EQ(marks, c.marks) << c.why;
    }
    EXPECT_EQ(timeZoneText(unixTime(1'792'882'800), unixTime(1'792'900'000)), "UTC+2, UTC+1");
    unsetenv("TZ");
    tzset();
}

TEST(Chart, CurvesShareAnAxisUnlessOneWouldBeFlat) {
    const struct {
        const char* why;
        std::vector<AxisNeed> curves;
        std::vector<std::vector<std::size_t>> axes;
    } cases[] = {
        {"alike", {{Range{0, 10}, ""}, {Range{5, 20}, ""}}, {{0, 1}}},
        {"a small one beside a large one", {{Range{0, 1000}, ""}, {Range{1, 2}, ""}}, {{0}, {1}}},
        {"units differ", {{Range{0, 10}, "°C"}, {Range{0, 10}, "kPa"}}, {{0}, {1}}},
        {"a steady set point", {{Range{70, 90}, ""}, {Range{80, 80}, ""}}, {{0, 1}}},
        {"a switch that rests", {{Range{0, 100}, ""}, {Range{0, 0}, ""}}, {{0}, {1}}},
        {"without values", {{std::nullopt, ""}, {Range{1, 1}, ""}}, {{1}}},
    };
    for (const auto& c : cases) {
        std::vector<std::vector<std::size_t>> got;
        for (const Axis& axis : groupAxes(c.curves)) {
            got.push_back(axis.curves);
            EXPECT_GT(axis.range.span(), 0) << c.why;
        }
        EXPECT_EQ(got, c.axes) << c.why;
    }
}

TEST(Chart, ColumnsKeepEveryPeakAndEveryGap) {
    std::vector<HistoryValue> values;
    values.reserve(1000);
    for (int i = 0; i < 1000; ++i)
        values.push_back({unixTime(i), i == 555 ? 9.0 : i == 557 ? -9.0 : 1.0, kGood, false});
    auto columns = curveColumns(values, unixTime(0), unixTime(999), 10);
    EXPECT_EQ(columns[5].highest->number, 9);
    EXPECT_EQ(columns[5].lowest->number, -9);
    EXPECT_LT(columns[5].highest, columns[5].lowest) << "in their order";

    // Every 60 s, so that 4 min are no gap, but 10 min and a bad value are.
    values.clear();
    for (int i = -20; i < 0; ++i)
        values.push_back({unixTime(60 * i), 1, kGood, false});
    for (const auto& [second, status] : {std::pair(0, kGood),
                                         {60, kGood},
                                         {300, kGood},
                                         {360, kBad},
                                         {420, kGood},
                                         {480, kGood},
                                         {1080, kGood},
                                         {1140, kGood}})
        values.push_back({unixTime(second), 1, status, false});
    columns = curveColumns(values, unixTime(0), unixTime(1200), 20);
    std::string joined;
    for (const CurveColumn& column : columns)
        joined += column.empty() ? '.' : column.joined ? '-' : '|';
    EXPECT_EQ(joined, "|-...-.|-.........|-");
}

TEST(Chart, PicturesStaySmallAndAreWhatTheirNamesSay) {
    Chart chart{"Котёл 1", {}, unixTime(0), unixTime(100'000), Language::ru};
    for (std::size_t curve = 0; curve < kMostCurves; ++curve) {
        chart.curves.push_back({"R1_P" + std::to_string(curve), "Котёл 1", "", {}});
        for (int i = 0; curve > 0 && i < 100'000; ++i)
            chart.curves.back().values.push_back(
                {unixTime(i), curve == 1 ? i % 2 : std::sin(i) * std::pow(10.0, curve),
                 i % 7 == 0 ? kBad : kGood, false});
    }
    std::string svg;
    std::string png;
    ASSERT_EQ(drawChart(chart, PictureFormat::svg, {1200, 600}, svg), "");
    ASSERT_EQ(drawChart(chart, PictureFormat::png, {400, 250}, png), "");
    EXPECT_EQ(svg.substr(0, 5) + svg.substr(svg.size() - 7), "<?xml</svg>\n");
    EXPECT_LT(svg.size(), 600'000U) << "of 700 000 values";
    EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1a\n");
    EXPECT_EQ(png.substr(16, 8), std::string("\0\0\1\x90\0\0\0\xFA", 8)) << "width and height";
}

}  // namespace tools
