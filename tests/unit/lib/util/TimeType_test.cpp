#include "lib/util/TimeType.h"

#include "lib/util/abs_time.h"
#include "tests/support/child_process.h"

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
        {"a second is carried", TimeType(1, 700000) + TimeType(0, 400000), {2, 100000}},
        {"one carry only", TimeType(0, 1900000) + TimeType(0, 1900000), {1, 2800000}},
        {"the rest goes to microseconds", TimeType(7, 500000) / 2, {3, 750000}},
        {"towards zero, also below it", TimeType(-7, 0) / 2, {-3, -500000}},
        {"by nothing", TimeType(7, 500000) / 0, {0, 0}},
        {"several seconds are carried", TimeType(1, 600000) * 3, {4, 800000}},
        {"beyond 32 bits", TimeType(1, 999999) * 1000000, {1999999, 0}},
        {"a later maximum", std::max(TimeType(1, 2), TimeType(1, 3)), {1, 3}},
        {"seconds count first", std::min(TimeType(2, 0), TimeType(1, 3)), {1, 3}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.got, c.want) << c.why;
    EXPECT_FLOAT_EQ(TimeType(2, 250000).GetSecInFloat(), 2.25F);

    const struct {
        const char* why;
        int from1, to1, from2, to2, result, from,
            to;  // s; the last two of what both have in common
    } intervals[] = {{"overlap", 1, 5, 3, 8, 0, 3, 5},
                     {"touch", 1, 3, 3, 8, 0, 3, 3},
                     {"apart", 5, 6, 1, 2, -1, 5, 2}};
    for (const auto& i : intervals) {
        SCOPED_TRACE(i.why);
        const TimeType from1(i.from1, 1), to1(i.to1, 1), from2(i.from2, 1), to2(i.to2, 1);
        TimeType from, to;
        EXPECT_EQ(TimeType::GetIntersection(from1, to1, from2, to2, from, to), i.result);
        EXPECT_TRUE(from == TimeType(i.from, 1) && to == TimeType(i.to, 1));
        EXPECT_EQ(TimeType::HasIntersection(from1, to1, from2, to2), i.result + 1);
        EXPECT_EQ(TimeType::GetUnion(from1, to1, from2, to2, from, to), 0);
        EXPECT_TRUE(from == std::min(from1, from2) && to == std::max(to1, to2));
    }
    for (const auto& [point, inside] :
         {std::pair(TimeType(0, 999999), false), {{1, 0}, true}, {{2, 0}, true}, {{2, 1}, false}})
        EXPECT_EQ(TimeType::IsPointInInterval(point, TimeType(1, 0), TimeType(2, 0)), inside);
}

TEST(TimeType, WritesItselfAndReadsTheClocks) {
    ChildProcess inAnotherZone([] {
        setenv("TZ", "XXX-3", 1);  // three hours ahead of UTC
        tzset();
        const TimeType time(1709611449, 250999);  // 2024-03-05 04:04:09 UTC
        EXPECT_EQ(time.GetDateString_r(), " 5/03/2024  7:04:09.250");
        EXPECT_STREQ(time.GetDateStringForFilename(), "0503 07_04_09.250");
        const char* first = time.GetDateString();
        EXPECT_EQ(TimeType().GetDateString(), first) << "one buffer for the process";
        EXPECT_STREQ(first, " 1/01/1970  3:00:00.000");
        const TimeType broken(std::numeric_limits<long>::max(), -1L);
        EXPECT_NE(broken.GetDateString_r(), "") << "of a broken record";
        EXPECT_STREQ(TimeType(-1, 999999).GetString(), "4294967295.999999");
        TimeType(1, 34).Print();
        return 0;
    });
    EXPECT_EQ(inAnotherZone.wait(), 0);
    EXPECT_EQ(inAnotherZone.out(), "1.000034\n");

    const TimeType before = TimeType::GetCurrent();
    TimeType ticks, after;
    ticks.UpdateWithAbsClock();
    TimeType::Sleep(TimeType(0, 30000));
    after.UpdateWithCurrent();
    EXPECT_GE(after - before, TimeType(0, 30000));
    EXPECT_TRUE(ticks.tv_sec > 0 && ticks.tv_sec <= abs_clock() / ABSCLOCKS_PER_SEC);
    const timeval us{5, 123456};
    timespec ns{};
    timecon(&us, &ns);
    EXPECT_EQ(ns.tv_sec * 1000000000 + ns.tv_nsec, 5123456000);
}
