#include "simulator.h"

#include <gtest/gtest.h>

#include <csignal>
#include <iostream>
#include <string>

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
        EXPECT_TRUE(waitUntil([&] { return out().find("\nzrtsim: ready\n") != std::string::npos; }))
            << out() << child_.err();
    }
    ~Running() {
        kill(child_.pid(), SIGTERM);
        EXPECT_EQ(child_.wait(), 0);
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    std::string out() const { return child_.out(); }

  private:
    ChildProcess child_;
};

TEST(Simulator, TakesTheUsersConfigurationAndCycle) {
    const TemporarySite site;
    site.write("mine.ini", "[General]\nServerPort = 4847\n");
    sim::Options options;
    options.config = site.path("mine.ini").string();
    options.cycleMs = 40;
    options.controllerNumber = 12;
    {
        const Running running(options);
        EXPECT_EQ(site.read("settings/opcuasrv.ini"), site.read("mine.ini"));
        const std::string settings = site.read("settings/veskkntr.ini");
        EXPECT_NE(settings.find("CycleTime = 40\n"), std::string::npos);
        EXPECT_NE(settings.find("Number_kontr = 12\n"), std::string::npos);
        site.write("settings/veskkntr.ini", "[StartSetup]\nCycleTime = 30\n");
    }
    EXPECT_TRUE(site.entries().contains("mine.ini"));
    const Running running{sim::Options{}};
    EXPECT_NE(running.out().find("цикл 30 мс"), std::string::npos)
        << "an edited cycle is in force in the next run: " << running.out();
}

}  // namespace
