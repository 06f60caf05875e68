// The program's archive as a server sees it through the trend library.
#include "sim/simulator.h"

#include "lib/util/veskpath.h"
#include "sim/failure.h"
#include "sim/site/site.h"
#include "tests/support/child_process.h"
#include "tests/support/pen_values.h"
#include "tests/unit/sim/site/temporary_site.h"

/// A file that another program makes meanwhile; files that existed before are a system test.
TEST(Simulator, WritesOverNoFileThatComesLate) {
    const TemporarySite temporary;
    sim::Site site(sim::controllerFolders(), std::cout);
    site.enter(false);
    site.makeFoldersAndKeyFiles();
    temporary.write("settings/opcuasrv.ini", "made since the check");
    EXPECT_THROW(site.makeFile(site.folders().serverIni(), "sample"), sim::Failure);
    EXPECT_EQ(temporary.read("settings/opcuasrv.ini"), "made since the check");
}

// ---- What it records ---------------------------------------------------------------------------

constexpr std::int64_t kSecond = 1'000'000;

/// Runs zrtsim in a process of its own, as its main does, until it has recorded for a second or
/// two, and ends it by SIGTERM.
/// @return its messages
static std::string recorded(sim::Options options) {
    options.cycleMs = 50;
    ChildProcess process([&options] {
        static volatile std::sig_atomic_t stopAsked = 0;
        signal(SIGTERM, [](int) { stopAsked = 1; });
        std::cout << std::unitbuf;
        sim::Simulator(options, std::cout, stopAsked).run();
        return 0;
    });
    EXPECT_TRUE(waitUntil([&] { return process.out().ends_with("\nzrtsim: ready\n"); }))
        << process.out() << process.err();
    const std::int64_t until = std::time(nullptr) + 2;
    EXPECT_TRUE(waitUntil([&] { return !readPen({4, 8}, until * kSecond).values.empty(); }));
    kill(process.pid(), SIGTERM);
    EXPECT_EQ(process.wait(), 0);
    return process.out();
}

/// Times of a pen's values, us, which must ascend without a gap of more than 3 s.
static std::vector<std::int64_t> timesOf(OPCHDAITEMDEF pen) {
    const PenValues read = readPen(pen);
    std::vector<std::int64_t> times;
    for (std::size_t i = 0; i < read.values.size(); ++i) {
        times.push_back(read.time(i));
        if (i == 0) continue;
        EXPECT_GE(times[i], times[i - 1]);
        EXPECT_LE(times[i], times[i - 1] + 3 * kSecond);
    }
    return times;
}

TEST(Trends, GoOnFromAPastToTheNextRun) {
    const TemporarySite site;
    sim::Options options;
    options.history = std::chrono::hours(3);
    const std::int64_t begin = std::time(nullptr) * kSecond;
    EXPECT_THAT(recorded(options), testing::HasSubstr("значений 345600"));
    std::vector<std::int64_t> before;
    for (std::uint32_t pen = 0; pen < 32; ++pen) {
        SCOPED_TRACE(pen);
        before = timesOf({pen / 8 + 1, pen % 8 + 1});
        ASSERT_GE(before.size(), 10'800U);
        EXPECT_LE(before.front(), begin - 10'794 * kSecond);
        EXPECT_GE(before.back(), begin);
    }

    options.history = std::chrono::minutes(1);
    recorded(options);
    const auto after = timesOf({4, 8});
    ASSERT_GT(after.size(), before.size());
    EXPECT_TRUE(std::equal(before.begin(), before.end(), after.begin()));

    options.keep = std::chrono::hours(1);
    recorded(options);
    const auto kept = timesOf({4, 8});
    EXPECT_GT(kept.front(), before.front() + 4000 * kSecond);
    EXPECT_LT(kept.front(), begin - 3600 * kSecond);

    options = {};
    options.fresh = true;
    recorded(options);
    EXPECT_GT(timesOf({4, 8}).front(), kept.back());
}

/// Damaged archives and a missing installation stop the start; nothing is touched or made.
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
    site.write(".zrtsim-record", "notes of somebody\n");
    EXPECT_EQ(codeOf(true), sim::ExitCode::failed);
    EXPECT_EQ(site.read(".zrtsim-record"), "notes of somebody\n");
    site.write(".zrtsim-record", "");  // a run that was killed before its first line
    EXPECT_EQ(codeOf(false), sim::ExitCode::ok);
    site.write("trends/archive.db", std::string(8192, '?'));
    EXPECT_EQ(codeOf(false), sim::ExitCode::failed);
    EXPECT_EQ(site.read("trends/archive.db"), std::string(8192, '?'));
    EXPECT_EQ(codeOf(true), sim::ExitCode::ok);
    setenv("VESKPATH", site.path("none").c_str(), 1);
    SRV_Path.InitPathes();
    EXPECT_EQ(codeOf(false), sim::ExitCode::failed);
    EXPECT_FALSE(std::filesystem::exists(site.path("none")));
    unsetenv("VESKPATH");
    SRV_Path.InitPathes();
}
