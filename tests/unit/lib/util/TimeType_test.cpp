#include "lib/util/TimeType.h"

#include <gtest/gtest.h>
#include <sys/times.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <sstream>
#include <string>
#include <thread>

#include "lib/util/abs_time.h"
#include "support/capture.h"

void PrintTo(const TimeType& time, std::ostream* out) {
    *out << '(' << time.tv_sec << ", " << time.tv_usec << ')';
}

namespace {

TEST(TimeType, TakesValuesAsGiven) {
    EXPECT_EQ(TimeType(), TimeType(0, 0));
    EXPECT_EQ(TimeType(timeval{3, 4}), TimeType(3, 4));
    EXPECT_EQ(TimeType(timeval_32{-3, 4}), TimeType(-3, 4));
    EXPECT_EQ(TimeType(1L, 2500000L).tv_usec, 2500000) << "not normalised";
    EXPECT_EQ(TimeType(1, -7).tv_usec, -7);
    const struct {
        long us, sec, usec;
    } cases[] = {{0, 0, 0}, {999999, 0, 999999}, {1000000, 1, 0}, {-1500000, -1, -500000}};
    for (const auto& c : cases) {
        EXPECT_EQ(TimeType(c.us), TimeType(c.sec, c.usec)) << c.us;
        TimeType set(9, 9);
        set.Set(c.us);
        EXPECT_EQ(set, TimeType(c.sec, c.usec)) << c.us;
    }
    TimeType t;
    t.Set(timeval_32{5, 6});
    EXPECT_EQ(t, TimeType(5, 6));
    t.Set(timeval{7, 8});
    EXPECT_EQ(t, TimeType(7, 8));
    t.Set(9, 10);
    EXPECT_EQ(t, TimeType(9, 10));
    t.Set(11L, 12L);
    EXPECT_EQ(t, TimeType(11, 12));
    t.Set();
    EXPECT_EQ(t, TimeType(0, 0));
    EXPECT_FLOAT_EQ(TimeType(2, 250000).GetSecInFloat(), 2.25F);
}

TEST(TimeType, CalculatesAsTheControllerDoes) {
    const struct {
        const char* why;
        TimeType got, want;
    } cases[] = {
        {"durations never go negative", TimeType(5, 200000) - TimeType(5, 300000), {0, 0}},
        {"a second is borrowed", TimeType(6, 100000) - TimeType(5, 300000), {0, 800000}},
        {"nothing to borrow", TimeType(6, 300000) - TimeType(5, 300000), {1, 0}},
        {"equal", TimeType(6, 3) - TimeType(6, 3), {0, 0}},
        {"a second is carried", TimeType(1, 700000) + TimeType(0, 400000), {2, 100000}},
        {"exactly a second", TimeType(1, 700000) + TimeType(0, 300000), {2, 0}},
        {"just below it", TimeType(1, 700000) + TimeType(0, 299999), {1, 999999}},
        {"one carry only", TimeType(0, 1900000) + TimeType(0, 1900000), {1, 2800000}},
        {"the rest goes to microseconds", TimeType(7, 500000) / 2, {3, 750000}},
        {"both parts truncate", TimeType(1, 0) / 3, {0, 333333}},
        {"towards zero, also below it", TimeType(-7, 0) / 2, {-3, -500000}},
        {"by nothing", TimeType(7, 500000) / 0, {0, 0}},
        {"several seconds are carried", TimeType(1, 600000) * 3, {4, 800000}},
        {"beyond 32 bits", TimeType(1, 999999) * 1000000, {1999999, 0}},
        {"a later maximum", std::max(TimeType(1, 2), TimeType(1, 3)), {1, 3}},
        {"an earlier minimum", std::min(TimeType(2, 0), TimeType(1, 3)), {1, 3}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.got, c.want) << c.why;
}

TEST(TimeType, ComparesSecondsFirst) {
    const TimeType a(1, 900000);
    const TimeType b(2, 100000);
    const TimeType c(2, 200000);
    for (const auto& [early, late] : {std::pair{a, b}, std::pair{b, c}, std::pair{a, c}}) {
        EXPECT_TRUE(early < late && early <= late && late > early && late >= early);
        EXPECT_FALSE(late < early || late <= early || early > late || early >= late);
        EXPECT_FALSE(early == late);
    }
    EXPECT_TRUE(a == a && a <= a && a >= a);
    EXPECT_FALSE(a < a || a > a);
}

TEST(TimeType, ComparesIntervals) {
    const struct {
        const char* why;
        int start1, end1, start2, end2;
        int result, start, end, unionStart, unionEnd;
    } cases[] = {
        {"overlap", 1, 5, 3, 8, 0, 3, 5, 1, 8},   {"inside", 1, 9, 3, 4, 0, 3, 4, 1, 9},
        {"touching", 1, 3, 3, 8, 0, 3, 3, 1, 8},  {"apart", 1, 2, 5, 6, -1, 5, 2, 1, 6},
        {"reversed", 5, 6, 1, 2, -1, 5, 2, 1, 6},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const auto at = [](int seconds) { return TimeType(seconds, 1); };
        TimeType start;
        TimeType end;
        EXPECT_EQ(TimeType::GetIntersection(at(c.start1), at(c.end1), at(c.start2), at(c.end2),
                                            start, end),
                  c.result);
        EXPECT_EQ(start, at(c.start));
        EXPECT_EQ(end, at(c.end));
        EXPECT_EQ(TimeType::HasIntersection(at(c.start1), at(c.end1), at(c.start2), at(c.end2)),
                  c.result == 0 ? 1 : 0);
        EXPECT_EQ(
            TimeType::GetUnion(at(c.start1), at(c.end1), at(c.start2), at(c.end2), start, end), 0);
        EXPECT_EQ(start, at(c.unionStart));
        EXPECT_EQ(end, at(c.unionEnd));
    }
    const TimeType from(1, 0);
    const TimeType to(2, 0);
    for (const auto& [point, inside] :
         {std::pair{TimeType(0, 999999), false}, std::pair{from, true},
          std::pair{TimeType(1, 5), true}, std::pair{to, true}, std::pair{TimeType(2, 1), false}}) {
        EXPECT_EQ(TimeType::IsPointInInterval(point, from, to), inside);
    }
}

TEST(TimeType, WritesLocalTime) {
    const char* former = std::getenv("TZ");
    const std::string formerZone = former != nullptr ? former : "";
    setenv("TZ", "XXX-3", 1);  // three hours ahead of UTC
    tzset();
    const TimeType time(1709611449, 250999);  // 2024-03-05 04:04:09 UTC
    EXPECT_STREQ(time.GetDateString(), " 5/03/2024  7:04:09.250");
    EXPECT_EQ(time.GetDateString_r(), " 5/03/2024  7:04:09.250");
    EXPECT_STREQ(time.GetDateStringForFilename(), "0503 07_04_09.250");
    EXPECT_EQ(TimeType(1735678800 - 1, 7000).GetDateString_r(), "31/12/2024 23:59:59.007");
    const char* first = time.GetDateString();
    EXPECT_EQ(TimeType().GetDateString(), first) << "one buffer for the process";
    EXPECT_STREQ(first, " 1/01/1970  3:00:00.000");
    // Values from a broken record must not harm.
    EXPECT_NE(TimeType(std::numeric_limits<long>::max(), -1L).GetDateString_r(), "");
    if (former != nullptr) {
        setenv("TZ", formerZone.c_str(), 1);
    } else {
        unsetenv("TZ");
    }
    tzset();
}

TEST(TimeType, WritesSeconds) {
    EXPECT_STREQ(TimeType(12, 34).GetString(), "12.000034");
    EXPECT_STREQ(TimeType(-1, 999999).GetString(), "4294967295.999999");
    std::ostringstream stream;
    stream << TimeType(12, 34) << '|';
    stream.width(3);
    stream << 7;
    EXPECT_EQ(stream.str(), "12.000034|  7") << "the stream's fill is as before";
    Capture out(STDOUT_FILENO);
    TimeType(1, 500000).Print();
    EXPECT_EQ(out.text(), "1.500000\n");
}

TEST(TimeType, ReadsTheClocks) {
    const timespec before = [] {
        timespec t{};
        clock_gettime(CLOCK_REALTIME, &t);
        return t;
    }();
    const TimeType start = TimeType::GetCurrent();
    EXPECT_GE(start, TimeType(before.tv_sec, before.tv_nsec / 1000));
    TimeType::Sleep(TimeType(0, 30000));
    const TimeType waited = TimeType::GetCurrent() - start;
    EXPECT_GT(waited, TimeType(0, 30000));
    EXPECT_LT(waited, TimeType(5, 0));

    EXPECT_EQ(OpenAbsClock(), 0);
    EXPECT_EQ(ABSCLOCKS_PER_SEC, sysconf(_SC_CLK_TCK));
    tms unused{};
    const long from = times(&unused);
    const long ticks = abs_clock();
    TimeType now;
    now.UpdateWithAbsClock();
    const long to = times(&unused);
    EXPECT_GE(ticks, from);
    EXPECT_LE(ticks, to);
    const double seconds = static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) / 1e6;
    EXPECT_NEAR(seconds, static_cast<double>(from) / static_cast<double>(ABSCLOCKS_PER_SEC), 1.0);
    const timeval us{5, 123456};
    timespec ns{};
    timecon(&us, &ns);
    EXPECT_EQ(ns.tv_sec, 5);
    EXPECT_EQ(ns.tv_nsec, 123456000);
}

}  // namespace
