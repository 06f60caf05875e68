#include "lib/util/TimeType.h"

#include <gtest/gtest.h>
#include <sys/times.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <sstream>
#include <string>

#include "lib/util/abs_time.h"
#include "support/capture.h"
#include "support/child_process.h"

void PrintTo(const TimeType& time, std::ostream* out) {
    *out << '(' << time.tv_sec << ", " << time.tv_usec << ')';
}

namespace {

template <class... Values>
TimeType set(Values... values) {
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
        {"truncating towards zero", TimeType(-1500000L), {-1, -500000}},
        {"set to nothing", set(), {0, 0}},
        {"durations never go negative", TimeType(5, 200000) - TimeType(5, 300000), {0, 0}},
        {"a second is borrowed", TimeType(6, 100000) - TimeType(5, 300000), {0, 800000}},
        {"a second is carried", TimeType(1, 700000) + TimeType(0, 400000), {2, 100000}},
        {"exactly a second", TimeType(1, 700000) + TimeType(0, 300000), {2, 0}},
        {"one carry only", TimeType(0, 1900000) + TimeType(0, 1900000), {1, 2800000}},
        {"the rest goes to microseconds", TimeType(7, 500000) / 2, {3, 750000}},
        {"towards zero, also below it", TimeType(-7, 0) / 2, {-3, -500000}},
        {"by nothing", TimeType(7, 500000) / 0, {0, 0}},
        {"several seconds are carried", TimeType(1, 600000) * 3, {4, 800000}},
        {"beyond 32 bits", TimeType(1, 999999) * 1000000, {1999999, 0}},
        {"a later maximum", std::max(TimeType(1, 2), TimeType(1, 3)), {1, 3}},
        {"an earlier minimum", std::min(TimeType(2, 0), TimeType(1, 3)), {1, 3}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.got, c.want) << c.why;
    EXPECT_FLOAT_EQ(TimeType(2, 250000).GetSecInFloat(), 2.25F);
}

TEST(TimeType, ComparesSecondsFirst) {
    const TimeType a(1, 900000);
    const TimeType b(2, 100000);
    const TimeType c(2, 200000);
    for (const auto& [early, late] : {std::pair{a, b}, std::pair{b, c}}) {
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
        {"overlap", 1, 5, 3, 8, 0, 3, 5, 1, 8},
        {"inside", 1, 9, 3, 4, 0, 3, 4, 1, 9},
        {"touching", 1, 3, 3, 8, 0, 3, 3, 1, 8},
        {"reversed and apart", 5, 6, 1, 2, -1, 5, 2, 1, 6},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const TimeType from1(c.start1, 1), to1(c.end1, 1), from2(c.start2, 1), to2(c.end2, 1);
        TimeType start, end;
        EXPECT_EQ(TimeType::GetIntersection(from1, to1, from2, to2, start, end), c.result);
        EXPECT_EQ(start, TimeType(c.start, 1));
        EXPECT_EQ(end, TimeType(c.end, 1));
        EXPECT_EQ(TimeType::HasIntersection(from1, to1, from2, to2), c.result + 1);
        EXPECT_EQ(TimeType::GetUnion(from1, to1, from2, to2, start, end), 0);
        EXPECT_EQ(start, TimeType(c.unionStart, 1));
        EXPECT_EQ(end, TimeType(c.unionEnd, 1));
    }
    for (const auto& [point, inside] :
         {std::pair{TimeType(0, 999999), false}, std::pair{TimeType(1, 0), true},
          std::pair{TimeType(2, 0), true}, std::pair{TimeType(2, 1), false}})
        EXPECT_EQ(TimeType::IsPointInInterval(point, TimeType(1, 0), TimeType(2, 0)), inside);
}

TEST(TimeType, WritesItself) {
    ChildProcess inAnotherZone([] {
        setenv("TZ", "XXX-3", 1);  // three hours ahead of UTC
        tzset();
        const TimeType time(1709611449, 250999);  // 2024-03-05 04:04:09 UTC
        EXPECT_EQ(time.GetDateString_r(), " 5/03/2024  7:04:09.250");
        EXPECT_STREQ(time.GetDateStringForFilename(), "0503 07_04_09.250");
        EXPECT_EQ(TimeType(1735678799, 7000).GetDateString_r(), "31/12/2024 23:59:59.007");
        const char* first = time.GetDateString();
        EXPECT_STREQ(first, " 5/03/2024  7:04:09.250");
        EXPECT_EQ(TimeType().GetDateString(), first) << "one buffer for the process";
        EXPECT_STREQ(first, " 1/01/1970  3:00:00.000");
        const TimeType broken(std::numeric_limits<long>::max(), -1L);
        EXPECT_NE(broken.GetDateString_r(), "") << "of a broken record";
        EXPECT_STREQ(TimeType(-1, 999999).GetString(), "4294967295.999999");
        std::ostringstream stream;
        stream << TimeType(12, 34) << '|';
        stream.width(3);
        stream << 7;
        EXPECT_EQ(stream.str(), "12.000034|  7") << "the stream's fill is as before";
        TimeType(1, 500000).Print();
        return 0;
    });
    EXPECT_EQ(inAnotherZone.wait(), 0);
    EXPECT_EQ(inAnotherZone.out(), "1.500000\n");
}

TEST(TimeType, ReadsTheClocks) {
    const TimeType start = TimeType::GetCurrent();
    EXPECT_NEAR(static_cast<double>(start.tv_sec), static_cast<double>(std::time(nullptr)), 1.0);
    TimeType::Sleep(TimeType(0, 30000));
    TimeType end;
    end.UpdateWithCurrent();
    EXPECT_GT(end - start, TimeType(0, 30000));
    EXPECT_LT(end - start, TimeType(5, 0));

    EXPECT_EQ(OpenAbsClock(), 0);
    EXPECT_EQ(ABSCLOCKS_PER_SEC, sysconf(_SC_CLK_TCK));
    tms unused{};
    const long from = times(&unused);
    TimeType now;
    now.UpdateWithAbsClock();
    EXPECT_GE(abs_clock(), from);
    EXPECT_LE(abs_clock(), times(&unused));
    const double seconds = static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) / 1e6;
    EXPECT_NEAR(seconds, static_cast<double>(from) / static_cast<double>(ABSCLOCKS_PER_SEC), 1.0);
    const timeval us{5, 123456};
    timespec ns{};
    timecon(&us, &ns);
    EXPECT_EQ(ns.tv_sec, 5);
    EXPECT_EQ(ns.tv_nsec, 123456000);
}

}  // namespace
