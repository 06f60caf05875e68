#include "lib/util/TimeType.h"

#include "lib/util/abs_time.h"
#include "tests/support/capture.h"

template <class... Values>
static TimeType set(Values... values) {
    TimeType time(9, 9);
    time.Set(values...);
    return time;
}

TEST(TimeType, CalculatesAsTheControllerDoes) {
    const struct {
        const char* why;
        TimeType got, want;
    } cases[] = {
        {"a system time", set(timeval{7, 8}), {7, 8}},
        {"a record's time", set(timeval_32{-3, 4}), {-3, 4}},
        {"parts are not normalised", set(1L, 2500000L), TimeType(1, 2500000)},
        {"microseconds make seconds", TimeType(1000000L), {1, 0}},
        {"set to nothing", set(), {0, 0}},
        {"durations never go negative", TimeType(5, 200000) - TimeType(5, 300000), {0, 0}},
        {"a second is borrowed", TimeType(6, 100000) - TimeType(5, 300000), {0, 800000}},
        {"one carry only", TimeType(0, 1900000) + TimeType(0, 1900000), {1, 2800000}},
        {"the rest goes to microseconds", TimeType(7, 500000) / 2, {3, 750000}},
        {"towards zero, also below it", TimeType(-7, 0) / 2, {-3, -500000}},
        {"by nothing", TimeType(7, 500000) / 0, {0, 0}},
        {"several seconds are carried", TimeType(1, 600000) * 3, {4, 800000}},
        {"beyond 32 bits", TimeType(1, 999999) * 1000000, {1999999, 0}},
        {"seconds count first", std::min(TimeType(2, 0), TimeType(1, 3)), {1, 3}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.got, c.want) << c.why;
    EXPECT_FLOAT_EQ(TimeType(2, 250000).GetSecInFloat(), 2.25F);

    const TimeType one(1, 1), three(3, 1), five(5, 1), eight(8, 1);
    // Result and interval of what the first has in common with three to eight.
    for (const auto& [from1, to1, result, last] :
         {std::tuple(one, five, 0, five), {one, three, 0, three}, {one, one, -1, one}}) {
        TimeType from, to;
        EXPECT_EQ(TimeType::GetIntersection(from1, to1, three, eight, from, to), result);
        EXPECT_TRUE(from == three && to == last);
        EXPECT_EQ(TimeType::HasIntersection(from1, to1, three, eight), result + 1);
        EXPECT_EQ(TimeType::GetUnion(from1, to1, three, eight, from, to), 0);
        EXPECT_TRUE(from == one && to == eight);
    }
    for (const auto& [point, inside] :
         {std::pair(TimeType(0, 999999), false), {{1, 0}, true}, {{2, 0}, true}, {{2, 1}, false}})
        EXPECT_EQ(TimeType::IsPointInInterval(point, TimeType(1, 0), TimeType(2, 0)), inside);
}

TEST(TimeType, WritesItself) {
    setenv("TZ", "XXX-3", 1);  // three hours ahead of UTC
    tzset();
    const TimeType time(1709611449, 250999);  // 2024-03-05 04:04:09 UTC
    EXPECT_EQ(time.GetDateString_r(), " 5/03/2024  7:04:09.250");
    EXPECT_STREQ(time.GetDateStringForFilename(), "0503 07_04_09.250");
    const char* const first = time.GetDateString();
    EXPECT_EQ(TimeType().GetDateString(), first) << "one buffer for the process";
    EXPECT_STREQ(first, " 1/01/1970  3:00:00.000");
    EXPECT_NE(TimeType(LONG_MAX, -1L).GetDateString_r(), "") << "of a broken record";
    EXPECT_STREQ(TimeType(-1, 999999).GetString(), "4294967295.999999");
    unsetenv("TZ");
    tzset();
    Capture out(STDOUT_FILENO);
    TimeType(1, 34).Print();
    EXPECT_EQ(out.text(), "1.000034\n");
    TimeType ticks;
    ticks.UpdateWithAbsClock();
    EXPECT_TRUE(ticks.tv_sec > 0 && ticks.tv_sec <= abs_clock() / ABSCLOCKS_PER_SEC);
    const timeval us{5, 123456};
    timespec ns{};
    timecon(&us, &ns);
    EXPECT_EQ(ns.tv_sec * 1000000000 + ns.tv_nsec, 5123456000);
    const TimeType before = TimeType::GetCurrent();
    TimeType::Sleep(TimeType(0, 2000));
    TimeType after;
    after.UpdateWithCurrent();
    EXPECT_GE(after - before, TimeType(0, 2000));
}
