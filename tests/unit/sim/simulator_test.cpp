#include "simulator.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <iostream>
#include <set>
#include <sstream>
#include <string>

#include "failure.h"
#include "lib/util/shmem.h"
#include "lib/util/vs_obj.h"
#include "support/child_process.h"
#include "unit/sim/site/temporary_site.h"

namespace {

volatile std::sig_atomic_t stopAsked = 0;

/// The program in a process of its own, as its main runs it.
class Running {
  public:
    explicit Running(sim::Options options)
        : child_([options = std::move(options)] {
              stopAsked = 0;
              signal(SIGTERM, [](int) { stopAsked = 1; });
              std::cout << std::unitbuf;
              sim::Simulator(options, std::cout, stopAsked).run();
              return 0;
          }) {
        EXPECT_TRUE(waitUntil([&] {
            return child_.out().find("\nzrtsim: ready\n") != std::string::npos;
        })) << child_.out()
            << child_.err();
    }
    int stop() {
        kill(child_.pid(), SIGTERM);
        return child_.wait();
    }
    ChildProcess& child() { return child_; }

  private:
    ChildProcess child_;
};

/// Trends and journal stay for the next run, and the record that tells whose they are.
const std::set<std::string> kSaved{".zrtsim-record",
                                   "trends",
                                   "trends/archive.db",
                                   "sram",
                                   "sram/dat",
                                   "sram/dat/rolling2.dat",
                                   "sram/dat/cntroll2.dat",
                                   "sram/rezerv",
                                   "sram/rezerv/rolling2.dat",
                                   "sram/rezerv/cntroll2.dat",
                                   "sram/check",
                                   "sram/check/chk_rol2.dat",
                                   "sram/check/chk_rol2.rez"};

std::uint32_t wordAt(const unsigned char* bytes, std::size_t offset) {
    std::uint32_t word = 0;
    std::memcpy(&word, bytes + offset, sizeof word);
    return word;
}

TEST(Simulator, AnswersTheQueriesOfAReaderAndCleansUp) {
    const TemporarySite site;
    sim::Options options;
    options.counts = {5, 1, 2, 0, 3, 1, 1, 1, 1, 1, 9};
    options.frozen = true;
    Running running(options);
    ChildProcess reader([] {
        vs_obj channel;
        const int database = channel.name_find("VsBASE");
        EXPECT_GT(database, 0);
        const std::uint32_t counts[] = {5, 1, 2, 0, 3, 1, 1, 1, 1, 1, 9, 0};
        std::uint32_t request[5] = {0x1100, 0, 0, 0, 0};
        for (int i = 0; i < 12; ++i) {
            unsigned char reply[40] = {};
            EXPECT_EQ(channel.Send(database, request, reply, 20, 40), 0);
            request[1] = wordAt(reply, 32);
            EXPECT_EQ(request[1], static_cast<std::uint32_t>(i + 1));
            EXPECT_EQ(wordAt(reply, 16), counts[i]);
        }
        return 0;
    });
    EXPECT_EQ(reader.wait(), 0);
    EXPECT_EQ(running.stop(), 0);
    EXPECT_EQ(site.entries(), kSaved);
    EXPECT_EQ(TemporarySite::objects(), 0U);
}

/// Reads two places of shared memory twice, half a second apart.
void expectTimes(bool advance) {
    ChildProcess reader([advance] {
        const auto* record = static_cast<const char*>(ShmOpen(85, 24, 0, nullptr, 0));
        auto* data = static_cast<float*>(ShmOpen(11, 4, 0, nullptr, 0));
        EXPECT_TRUE(record != nullptr && data != nullptr);
        if (record == nullptr || data == nullptr) return 1;
        *data = 1234;
        char before[16];
        std::memcpy(before, record, sizeof before);
        const auto changed = [&] {
            return std::memcmp(before, record, sizeof before) != 0 && *data != 1234;
        };
        EXPECT_EQ(waitUntil(changed, std::chrono::milliseconds(advance ? 10000 : 500)), advance);
        return 0;
    });
    EXPECT_EQ(reader.wait(), 0);
}

TEST(Simulator, CyclesUnlessFrozen) {
    const TemporarySite site;
    sim::Options options;
    options.cycleMs = 20;
    {
        Running running(options);
        expectTimes(true);
        EXPECT_EQ(running.stop(), 0);
    }
    options.frozen = true;
    Running running(options);
    expectTimes(false);
    EXPECT_EQ(running.stop(), 0);
}

TEST(Simulator, TakesTheUsersConfigurationAndCycle) {
    const TemporarySite site;
    site.write("mine.ini", "[General]\nServerPort = 4847\n");
    sim::Options options;
    options.config = site.path("mine.ini").string();
    options.cycleMs = 40;
    options.controllerNumber = 12;
    Running running(options);
    EXPECT_EQ(site.read("settings/opcuasrv.ini"), site.read("mine.ini"));
    EXPECT_NE(site.read("settings/veskkntr.ini").find("CycleTime = 40\n"), std::string::npos);
    EXPECT_NE(site.read("settings/veskkntr.ini").find("Number_kontr = 12\n"), std::string::npos);
    EXPECT_EQ(running.stop(), 0);
    std::set<std::string> left = kSaved;
    left.insert("mine.ini");
    EXPECT_EQ(site.entries(), left);
}

TEST(Simulator, AnEditedCycleTimeIsInForceInTheNextRun) {
    const TemporarySite site;
    {
        Running running{sim::Options{}};
        site.write("settings/veskkntr.ini", "[StartSetup]\nCycleTime = 30\n");
        EXPECT_EQ(running.stop(), 0);
    }
    Running running{sim::Options{}};
    EXPECT_NE(running.child().out().find("цикл 30 мс"), std::string::npos) << running.child().out();
    EXPECT_EQ(running.stop(), 0);
}

TEST(Simulator, AnUnreadableConfigurationChangesNothing) {
    const TemporarySite site;
    sim::Options options;
    options.config = site.path("absent.ini").string();
    std::ostringstream out;
    try {
        sim::Simulator(options, out, stopAsked).run();
        ADD_FAILURE() << "ran";
    } catch (const sim::Failure& failure) {
        EXPECT_EQ(failure.code(), sim::ExitCode::usage);
    }
    EXPECT_TRUE(site.entries().empty());
}

}  // namespace
