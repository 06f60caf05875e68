#include "sim/trends/trend_recorder.h"

#include "platform/trends/standin/places.h"
#include "sim/layout/field_table.h"
#include "sim/memory/database_arrays.h"
#include "sim/plant/quality.h"
#include "tests/support/pen_values.h"
#include "tests/support/wait_until.h"
#include "tests/unit/sim/site/temporary_site.h"

using sim::TypeCode;

/// Two analog inputs with a scale of 0 to 100 and a contact.
struct SmallDatabase : sim::DatabaseArrays {
    SmallDatabase() : DatabaseArrays({2, 0, 0, 1}) {
        for (std::size_t i = 0; i < 2; ++i) {
            sim::store(memory.passport(TypeCode::VA, i) + sim::at(TypeCode::VA, "KSHK"), 100.0F);
            setQuality(memory, TypeCode::VA, i, sim::Quality::good);
        }
    }
};

TEST(PenSampler, TakesChangesBeyondNoiseAndAValueASecond) {
    SmallDatabase database;
    std::string problem;
    const auto definitions = trends::parseDefinitions(
        "[Plotter_1]\nPen_1 = VA, 1, float\nPen_2 = VA, 2, integer\nPen_3 = VD, 1, boolean\n"
        "Pen_4 = VA, 3, float\n",  // no such variable
        problem);
    sim::PenSampler sampler(database.memory, definitions);
    EXPECT_EQ(sampler.recordedPens(), 3U);
    const struct {
        const char* why;
        int ms;
        float first, second;
        unsigned contact;
        sim::Quality quality;  // of the first
        std::map<std::int64_t, double> want;
    } steps[] = {
        {"at first all", 0, 10, 20.6F, 0, sim::Quality::good, {{1, 10}, {2, 21}, {3, 0}}},
        {"noise", 100, 10.4F, 20.7F, 0, sim::Quality::good, {}},
        {"beyond the noise", 200, 10.6F, 20.6F, 1, sim::Quality::good, {{1, 10.6F}, {3, 1}}},
        {"noise again, from the new value", 300, 10.2F, 20.6F, 1, sim::Quality::good, {}},
        {"quality", 400, 10.2F, 20.6F, 1, sim::Quality::bad, {{1, 10.2F}}},
        {"a second without a change", 1000, 10.2F, 20.6F, 1, sim::Quality::bad, {{2, 21}}},
        {"a second later still", 1400, 10.2F, 20.6F, 1, sim::Quality::bad, {{1, 10.2F}, {3, 1}}},
        {"clock set back", 500, 10.2F, 20.6F, 1, sim::Quality::bad, {{1, 10.2F}, {2, 21}, {3, 1}}},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.why);
        sim::store(database.memory.value(TypeCode::VA, 0), step.first);
        sim::store(database.memory.value(TypeCode::VA, 1), step.second);
        *database.memory.value(TypeCode::DI, 0) = static_cast<std::byte>(step.contact);
        setQuality(database.memory, TypeCode::VA, 0, step.quality);
        std::vector<sim::PenValue> values;
        sampler.sample({1000, step.ms * 1000}, values);
        std::map<std::int64_t, double> got;
        for (const auto& value : values) {
            got[value.pen - trends::penKey(1, 0)] = value.sample.value;
            EXPECT_EQ(value.sample.time, 1'000'000'000 + step.ms * 1000);
        }
        EXPECT_EQ(got, step.want);
    }
}

/// The recorder's archive as a server reads it. Each call of `record` is a second's values of three
/// pens.
class Recorder : public testing::Test {
  protected:
    Recorder() {
        site.write("trends/x", "");
        std::string problem;
        definitions = trends::parseDefinitions(
            "[Plotter_1]\nPen_1 = VA, 1, float\nPen_2 = VA, 2, float\nPen_3 = VD, 1, boolean\n",
            problem);
        recorder = std::make_unique<sim::TrendRecorder>(trends::archiveFile(), definitions,
                                                        database.memory, std::chrono::hours(1));
        recorder->start();
    }
    ~Recorder() override { setDiskFull(false); }

    /// No file may grow.
    static void setDiskFull(bool full) {
        static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
        rlimit limit{};
        EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
        limit.rlim_cur = full ? 0 : limit.rlim_max;
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    }

    void record(std::int64_t fromSecond, std::int64_t seconds) {
        for (std::int64_t i = 0; i < seconds; ++i)
            recorder->record({fromSecond + i, 0});
    }

    static std::size_t values(OPCHDAITEMDEF pen = {1, 1}) { return readPen(pen).values.size(); }

    bool says(const std::string& text) {
        return waitUntil(
            [&] { return (said += recorder->takeMessages()).find(text) != said.npos; });
    }

    TemporarySite site;
    SmallDatabase database;
    trends::Definitions definitions;
    std::unique_ptr<sim::TrendRecorder> recorder;
    std::string said;
};

TEST_F(Recorder, GoesOnAfterAFullDiskAndSaysWhatItCost) {
    record(1000, 10);
    ASSERT_TRUE(waitUntil([] { return values() == 10; }));
    setDiskFull(true);
    record(2000, 34'000);
    EXPECT_TRUE(says("Архив трендов не записывается: "));
    // It is not visible from outside that a second attempt has failed too.
    std::this_thread::sleep_for(sim::TrendRecorder::kRetryAfter * 3 / 2);
    setDiskFull(false);
    EXPECT_TRUE(says("потеряно значений: 2000\n")) << said;
    EXPECT_EQ(said.find("не записывается"), said.rfind("не записывается")) << "once";
    EXPECT_EQ(values() + values({1, 2}) + values({1, 3}), 30 + sim::TrendRecorder::kMostWaiting);
    EXPECT_EQ(readPen({1, 1}, 2'000'000'000).time(0), 2'667'000'000) << "the oldest are lost";

    record(50'000, 1);
    ASSERT_TRUE(waitUntil([] { return readPen({1, 3}).values.back().seconds == 50'000; }));
    setDiskFull(true);
    record(60'000, 7);
    recorder->close();
    EXPECT_TRUE(says("до конца не записан, потеряно значений: 21\n")) << said;
}
