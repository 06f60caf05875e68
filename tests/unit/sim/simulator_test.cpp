#include <gtest/gtest.h>

#include <string>

#include "unit/sim/running_simulator.h"
#include "unit/sim/site/temporary_site.h"

TEST(Simulator, TakesTheUsersConfigurationAndCycle) {
    const TemporarySite site;
    site.write("mine.ini", "[General]\nServerPort = 4847\n");
    sim::Options options;
    options.config = site.path("mine.ini").string();
    options.cycleMs = 40;
    options.controllerNumber = 12;
    {
        const RunningSimulator running(options);
        EXPECT_EQ(site.read("settings/opcuasrv.ini"), site.read("mine.ini"));
        const std::string settings = site.read("settings/veskkntr.ini");
        EXPECT_NE(settings.find("CycleTime = 40\n"), std::string::npos);
        EXPECT_NE(settings.find("Number_kontr = 12\n"), std::string::npos);
        site.write("settings/veskkntr.ini", "[StartSetup]\nCycleTime = 30\n");
    }
    EXPECT_TRUE(site.entries().contains("mine.ini"));
    const RunningSimulator running{sim::Options{}};
    EXPECT_NE(running.out().find("цикл 30 мс"), std::string::npos)
        << "an edited cycle is in force in the next run: " << running.out();
}
