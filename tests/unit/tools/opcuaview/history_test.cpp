#include "tools/opcuaview/history.h"

#include "tests/support/files.h"
#include "tools/client/history_pager.h"
#include "tools/opcuaview/picture_file.h"
#include "tools/opcuaview/plot.h"
#include "tools/opcuaview/time_choice.h"

namespace tools::opcuaview {

namespace {

constexpr UA_DateTime kBegin = UA_DATETIME_UNIX_EPOCH + 1'800'000'000 * UA_DATETIME_SEC;
constexpr UA_DateTime kUs = UA_DATETIME_USEC;
constexpr UA_DateTime kMs = UA_DATETIME_MSEC;
constexpr UA_DateTime kSecond = UA_DATETIME_SEC;

/// A server that cuts answers at a number of values and request times to milliseconds.
class CuttingServer {
  public:
    CuttingServer(std::vector<UA_DateTime> times, std::size_t limit)
        : times_(std::move(times)), limit_(limit) {}

    HistoryRequest request() {
        return [this](UA_DateTime from, UA_DateTime to, std::vector<HistoryValue>& values) {
            if (failures > 0) return --failures, UA_STATUSCODE_BADTIMEOUT;
            from -= from % kMs;
            to -= to % kMs;
            for (std::size_t i = 0; i < times_.size() && values.size() < limit_; ++i)
                if (times_[i] >= from && times_[i] <= to)
                    values.push_back({times_[i], double(i), UA_STATUSCODE_GOOD, false});
            return UA_STATUSCODE_GOOD;
        };
    }

    void append(UA_DateTime time) { times_.push_back(time); }
    int failures = 0;

  private:
    std::vector<UA_DateTime> times_;
    std::size_t limit_;
};

std::vector<UA_DateTime> every(UA_DateTime step, int count, int equal = 1) {
    std::vector<UA_DateTime> times(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        times[static_cast<std::size_t>(i)] = kBegin + i / equal * step;
    return times;
}

struct Read {
    std::vector<int> numbers;
    HistoryPager::Step last = HistoryPager::Step::values;
};

Read readOn(HistoryPager& pager) {
    Read read;
    std::vector<HistoryValue> values;
    while ((read.last = pager.next(values)) == HistoryPager::Step::values) {
        for (const HistoryValue& value : values)
            read.numbers.push_back(static_cast<int>(value.number));
    }
    return read;
}

std::vector<int> numbers(int from, int to) {
    std::vector<int> all(static_cast<std::size_t>(to - from));
    std::iota(all.begin(), all.end(), from);
    return all;
}

}  // namespace

TEST(HistoryPager, ReadsEverythingOnceOrSaysWhereItCannotGoOn) {
    using enum HistoryPager::Step;
    std::vector<UA_DateTime> crowded = every(kSecond, 25);
    for (int i = 0; i < 15; ++i)
        crowded.insert(crowded.begin() + 20, kBegin + 19 * kSecond + 30 * kUs);
    const struct {
        const char* why;
        std::vector<UA_DateTime> times;
        std::size_t limit;
        UA_DateTime from, to;
        int first, count;
        HistoryPager::Step end;
    } cases[] = {
        {"several values a millisecond", every(150 * kUs, 5000), 10, 0, kBegin + kSecond, 0, 5000,
         end},
        {"several values of one time, cut between them", every(2 * kMs, 500, 4), 6, 0,
         kBegin + 2 * kSecond, 0, 500, end},
        {"times between milliseconds", every(100 * kUs, 100), 30, kBegin + 1050 * kUs,
         kBegin + 5150 * kUs, 11, 41, end},
        {"just an answer", every(kSecond, 10), 10, 0, kBegin + kSecond * 10, 0, 10, end},
        {"few of one millisecond, at the end of more", every(kMs, 40, 4), 10, kBegin + 9 * kMs,
         kBegin + kSecond, 36, 4, end},
        {"a millisecond with more than an answer", crowded, 10, 0, kBegin + kSecond * 99, 0, 29,
         stuck},
        {"an archive of one millisecond, which looks like a cut one", every(kUs, 7), 10, 0,
         kBegin + kSecond, 0, 7, stuck},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        CuttingServer server(c.times, c.limit);
        HistoryPager pager(server.request(), c.from, c.to);
        const Read read = readOn(pager);
        EXPECT_EQ(read.numbers, numbers(c.first, c.first + c.count));
        EXPECT_EQ(read.last, c.end);
    }
}

TEST(HistoryPager, GoesOnAfterAFailureAndWithWhatIsAdded) {
    CuttingServer server(every(kSecond, 95), 10);
    HistoryPager pager(server.request(), kBegin, kBegin + 94 * kSecond);
    std::vector<HistoryValue> values;
    ASSERT_EQ(pager.next(values), HistoryPager::Step::values);
    server.failures = 2;
    EXPECT_EQ(pager.next(values), HistoryPager::Step::failed);
    EXPECT_EQ(pager.status(), UA_STATUSCODE_BADTIMEOUT);
    EXPECT_EQ(pager.next(values), HistoryPager::Step::failed);
    EXPECT_EQ(readOn(pager).numbers, numbers(10, 95));

    server.append(kBegin + 94 * kSecond);  // the time of the last one
    server.append(kBegin + 95 * kSecond);
    pager.extendTo(kBegin + 99 * kSecond);
    EXPECT_EQ(readOn(pager).numbers, numbers(95, 97));
    EXPECT_EQ(readOn(pager).numbers, numbers(0, 0));
}

TEST(History, TimesAndDurationsAreReadAsWritten) {
    setenv("TZ", "MSK-3", 1);
    tzset();
    const std::pair<const char*, std::int64_t> times[] = {
        {"2026-11-21T09:30:15.250Z", 1'795'253'415'250},
        {"2026-11-21 12:30:15", 1'795'253'415'000},
        {"2026-11-21", 1'795'208'400'000}};
    for (const auto& [text, unixMs] : times)
        EXPECT_EQ((parseTime(text).value() - UA_DATETIME_UNIX_EPOCH) / kMs, unixMs) << text;
    for (const char* text :
         {"2026-02-30", "21.11.2026", "2026-11-21 12:30:15.5", "", "2026-11-21 12:61"})
        EXPECT_FALSE(parseTime(text)) << text;
    unsetenv("TZ");
    tzset();
    EXPECT_EQ(parseDuration("90s"), std::chrono::seconds{90});
    EXPECT_EQ(parseDuration("30d"), std::chrono::hours{720});
    for (const char* text : {"", "d", "0h", "-1h", "10", "1w", "5m5s", "100001s"})
        EXPECT_FALSE(parseDuration(text)) << text;
}

TEST(History, CsvKeepsEveryDigit) {
    const UA_DateTime time = kBegin + 123'456 * kUs;
    EXPECT_EQ(csvLine({time, static_cast<double>(0.1F), UA_STATUSCODE_GOOD, false}),
              "2027-01-15T08:00:00.123456Z,0.100000001,Good");
    EXPECT_EQ(csvLine({time, 0.1, UA_STATUSCODE_UNCERTAIN, true}),
              "2027-01-15T08:00:00.123456Z,0.10000000000000001,Uncertain");
    EXPECT_EQ(csvLine({0, std::numeric_limits<double>::quiet_NaN(), UA_STATUSCODE_BAD, false}),
              ",,Bad");
}

TEST(Plot, PictureFilesAreNamedSizedAndWrittenInOneStep) {
    EXPECT_EQ(pictureFormat("a/Б.SVG"), PictureFormat::svg);
    for (const char* path : {"a.jpg", "svg", ".png", "a.png/b"})
        EXPECT_FALSE(pictureFormat(path)) << path;
    EXPECT_EQ(parseSize("640x480").value().height, 480);
    for (const char* text :
         {"", "640", "640x", "x480", "640x480x1", "399x480", "640x8001", "+640x480"})
        EXPECT_FALSE(parseSize(text)) << text;
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "pictures";
    std::filesystem::create_directory(folder);
    const std::string path = folder / "a.svg";
    for (const char* contents : {"one", "two"})
        EXPECT_EQ(writePicture(path, contents), "");
    EXPECT_EQ(readFile(path), "two");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator{folder}, {}), 1);
    EXPECT_EQ(folderProblem(folder / "none/a.svg"), "No such file or directory");
    EXPECT_EQ(writePicture(folder, "three"), "Is a directory");
    std::filesystem::remove_all(folder);
}

TEST(Plot, DrawsTheCurveWithItsScaleAndGaps) {
    std::vector<HistoryValue> values;
    for (int i = 0; i <= 60; ++i) {
        values.push_back({kBegin + i * kSecond, i < 30 ? 0.0 : 10.0,
                          i >= 40 && i < 44 ? UA_STATUSCODE_BAD : UA_STATUSCODE_GOOD, false});
    }
    const UA_DateTime to = kBegin + 60 * kSecond;
    // 30 characters are 60 columns of dots, one a second.
    const auto lines = plot(values, kBegin, to, 4, 41);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], "       10 │               ⡏⠉⠉⠉⠉  ⠉⠉⠉⠉⠉⠉⠉⠉");
    EXPECT_EQ(lines[1].substr(0, 19), "        0 │⣀⣀");
    EXPECT_EQ(lines[2], "          └┬────────────────────────────┬");
    EXPECT_EQ(lines[3], "           08:00                    08:01");
    EXPECT_EQ(sparkline(values, kBegin, to, 6), "▁▁▁███");
    EXPECT_EQ(rangeText(values), "0 … 10");
    EXPECT_EQ(rangeText({}), "—");
    EXPECT_EQ(plot({}, kBegin, to, 6, 30).size(), 6U);
}

}  // namespace tools::opcuaview
