// What the simulated controller records, as a server sees it through the trend library.

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <ctime>
#include <map>
#include <memory>
#include <sstream>
#include <thread>
#include <vector>

#include "failure.h"
#include "jxotr/IHDA_SyncRead.h"
#include "layout/field_table.h"
#include "layout/little_endian.h"
#include "plant/quality.h"
#include "trends/pen_sampler.h"
#include "unit/sim/running_simulator.h"
#include "unit/sim/site/temporary_site.h"

namespace {

using sim::TypeCode;

constexpr std::int64_t kSecond = 1'000'000;

/// Two analog inputs with a scale of 0 to 100 and a contact, in plain memory.
struct SmallDatabase {
    SmallDatabase() {
        auto& analog = memory.of(TypeCode::VA);
        analog = {2, passports, nullptr, analogs};
        memory.of(TypeCode::DI) = {1, nullptr, nullptr, contacts};
        memory.timeQuality = quality;
        for (std::size_t i = 0; i < 2; ++i) {
            sim::store(memory.passport(TypeCode::VA, i) + sim::at(TypeCode::VA, "KSHK"), 100.0F);
            setQuality(memory, TypeCode::VA, i, sim::Quality::good);
        }
    }
    std::byte passports[2 * 114]{}, analogs[8]{}, contacts[1]{}, quality[3 * 24]{};
    sim::DatabaseMemory memory;
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
        {"at first all", 0, 10, 20.4F, 0, sim::Quality::good, {{1, 10}, {2, 20}, {3, 0}}},
        {"noise", 100, 10.4F, 20.2F, 0, sim::Quality::good, {}},
        {"beyond the noise", 200, 10.6F, 20.4F, 1, sim::Quality::good, {{1, 10.6F}, {3, 1}}},
        {"noise again, from the new value", 300, 10.2F, 20.4F, 1, sim::Quality::good, {}},
        {"quality", 400, 10.2F, 20.4F, 1, sim::Quality::bad, {{1, 10.2F}}},
        {"a second without a change", 1000, 10.2F, 20.4F, 1, sim::Quality::bad, {{2, 20}}},
        {"a second later still", 1400, 10.2F, 20.4F, 1, sim::Quality::bad, {{1, 10.2F}, {3, 1}}},
        {"clock set back", 500, 10.2F, 20.4F, 1, sim::Quality::bad, {{1, 10.2F}, {2, 20}, {3, 1}}},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.why);
        sim::store(database.analogs, step.first);
        sim::store(database.analogs + 4, step.second);
        database.contacts[0] = static_cast<std::byte>(step.contact);
        setQuality(database.memory, TypeCode::VA, 0, step.quality);
        std::vector<sim::PenValue> values;
        sampler.sample({1000, step.ms * 1000}, values);
        std::map<std::int64_t, double> got;
        for (const auto& value : values) {
            got[value.pen - trends::penKey(1, 0)] = value.sample.value;
            EXPECT_EQ(value.sample.time, 1000 * kSecond + step.ms * 1000);
        }
        EXPECT_EQ(got, step.want);
    }
}

/// Runs zrtsim for a moment and gives its messages.
std::string ran(sim::Options options, std::chrono::milliseconds time) {
    options.cycleMs = 50;
    const RunningSimulator running(options);
    std::this_thread::sleep_for(time);  // what is recorded meanwhile is looked at later
    return running.out();
}

/// Times of a pen's values, us.
std::vector<std::int64_t> timesOf(OPCHDAITEMDEF pen) {
    timeval from{0, 0};
    timeval to{4'000'000'000, 0};
    OPCHDAITEM* results = nullptr;
    HRESULT* errors = nullptr;
    const auto reader = std::make_unique<IHDA_SyncRead>();
    std::vector<std::int64_t> times;
    if (reader->ReadRaw(&from, &to, 1'000'000, false, 1, &pen, &results, &errors) != 0)
        return times;
    for (std::uint32_t i = 0; i < results->count; ++i) {
        times.push_back(results->values[i].seconds * kSecond + results->values[i].microseconds);
    }
    delete[] results->values;
    delete results;
    delete[] errors;
    return times;
}

/// The times must ascend, us.
std::int64_t longestGap(const std::vector<std::int64_t>& times) {
    std::int64_t longest = 0;
    for (std::size_t i = 1; i < times.size(); ++i) {
        EXPECT_GE(times[i], times[i - 1]);
        longest = std::max(longest, times[i] - times[i - 1]);
    }
    return longest;
}

TEST(Trends, GoOnFromAPastToTheNextRun) {
    const TemporarySite site;
    sim::Options options;
    options.history = std::chrono::minutes(30);
    const std::int64_t begin = std::time(nullptr) * kSecond;
    const std::string messages = ran(options, std::chrono::milliseconds(2500));
    EXPECT_NE(messages.find("значений 57600"), std::string::npos) << messages;
    std::vector<std::int64_t> before;
    for (std::uint32_t pen = 0; pen < 32; ++pen) {
        SCOPED_TRACE(pen);
        before = timesOf({pen / 8 + 1, pen % 8 + 1});
        ASSERT_GE(before.size(), 1800U);
        EXPECT_LE(before.front(), begin - 1794 * kSecond);
        EXPECT_GE(before.back(), begin + kSecond);
        EXPECT_LE(longestGap(before), 2 * kSecond);
    }
    EXPECT_EQ(timesOf({4, 9}).size() + timesOf({5, 1}).size(), 0U);

    options.history = std::chrono::minutes(1);
    ran(options, std::chrono::milliseconds(1500));
    const auto after = timesOf({4, 8});
    ASSERT_GT(after.size(), before.size());
    EXPECT_TRUE(std::equal(before.begin(), before.end(), after.begin()));
    EXPECT_LE(longestGap(after), 3 * kSecond);

    options.history.reset();
    options.fresh = true;
    ran(options, std::chrono::milliseconds(1200));
    const auto fresh = timesOf({4, 8});
    ASSERT_FALSE(fresh.empty());
    EXPECT_GT(fresh.front(), after.back());
}

/// Archives of others, damaged ones and definitions that make no sense stop the start; nothing of
/// them is touched.
TEST(Trends, RefuseWhatTheyCannotGoOnWith) {
    const auto codeOf = [](bool fresh) {
        sim::Options options;
        options.fresh = fresh;
        std::ostringstream out;
        try {
            const volatile std::sig_atomic_t stopAsked = 1;  // no cycle
            sim::Simulator(options, out, stopAsked).run();
        } catch (const sim::Failure& failure) {
            return failure.code();
        }
        return sim::ExitCode::ok;
    };
    const TemporarySite site;
    site.write("trends/archive.db", "of somebody else");
    EXPECT_EQ(codeOf(false), sim::ExitCode::foreign);
    EXPECT_EQ(codeOf(true), sim::ExitCode::foreign);
    EXPECT_EQ(site.read("trends/archive.db"), "of somebody else");
    std::filesystem::remove_all(site.path("trends"));

    EXPECT_EQ(codeOf(false), sim::ExitCode::ok);
    site.write("trends/archive.db", std::string(8192, '?'));
    EXPECT_EQ(codeOf(false), sim::ExitCode::failed);
    EXPECT_EQ(site.read("trends/archive.db"), std::string(8192, '?'));
    EXPECT_EQ(codeOf(true), sim::ExitCode::ok);
}

}  // namespace
