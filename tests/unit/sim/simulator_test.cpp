// The whole program, and its archive as a server sees it through the trend library.
#include "simulator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <ctime>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "failure.h"
#include "support/child_process.h"
#include "support/pen_values.h"
#include "unit/sim/site/temporary_site.h"

namespace {

/// Runs zrtsim in a process of its own, as its main does, and ends it by SIGTERM.
/// @param meanwhile  called once it is ready
/// @return its messages
std::string ran(const sim::Options& options, const std::function<void()>& meanwhile) {
    ChildProcess process([&options] {
        static volatile std::sig_atomic_t stopAsked = 0;
        signal(SIGTERM, [](int) { stopAsked = 1; });
        std::cout << std::unitbuf;
        sim::Simulator(options, std::cout, stopAsked).run();
        return 0;
    });
    EXPECT_TRUE(waitUntil([&] {
        return process.out().find("\nzrtsim: ready\n") != std::string::npos;
    })) << process.out()
        << process.err();
    meanwhile();
    kill(process.pid(), SIGTERM);
    EXPECT_EQ(process.wait(), 0);
    return process.out();
}

TEST(Simulator, TakesTheUsersConfigurationAndCycle) {
    const TemporarySite site;
    site.write("mine.ini", "[General]\nServerPort = 4847\n");
    sim::Options options;
    options.config = site.path("mine.ini").string();
    options.cycleMs = 40;
    options.controllerNumber = 12;
    ran(options, [&site] {
        EXPECT_EQ(site.read("settings/opcuasrv.ini"), site.read("mine.ini"));
        const std::string settings = site.read("settings/veskkntr.ini");
        EXPECT_NE(settings.find("CycleTime = 40\n"), std::string::npos);
        EXPECT_NE(settings.find("Number_kontr = 12\n"), std::string::npos);
        site.write("settings/veskkntr.ini", "[StartSetup]\nCycleTime = 30\n");
    });
    EXPECT_TRUE(site.entries().contains("mine.ini"));
    const std::string messages = ran({}, [] {});
    EXPECT_NE(messages.find("цикл 30 мс"), std::string::npos)
        << "an edited cycle is in force in the next run: " << messages;
}

// ---- What it records ---------------------------------------------------------------------------

constexpr std::int64_t kSecond = 1'000'000;

/// Runs zrtsim for a moment and gives its messages.
std::string recorded(sim::Options options, std::chrono::milliseconds time) {
    options.cycleMs = 50;
    return ran(options, [time] { std::this_thread::sleep_for(time); });  // looked at later
}

/// Times of a pen's values, us.
std::vector<std::int64_t> timesOf(OPCHDAITEMDEF pen) {
    const PenValues read = readPen(pen);
    std::vector<std::int64_t> times;
    for (std::size_t i = 0; i < read.values.size(); ++i)
        times.push_back(read.time(i));
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
    const std::string messages = recorded(options, std::chrono::milliseconds(2500));
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
    recorded(options, std::chrono::milliseconds(1500));
    const auto after = timesOf({4, 8});
    ASSERT_GT(after.size(), before.size());
    EXPECT_TRUE(std::equal(before.begin(), before.end(), after.begin()));
    EXPECT_LE(longestGap(after), 3 * kSecond);

    options.history.reset();
    options.fresh = true;
    recorded(options, std::chrono::milliseconds(1200));
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
