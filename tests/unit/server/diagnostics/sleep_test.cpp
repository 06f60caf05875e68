#include <gtest/gtest.h>

#include <csignal>

#include "server/diagnostics/SleepForever.h"
#include "support/child_process.h"

static void doNothing(int) {}

TEST(SleepForever, IsNotEndedByAHandledSignal) {
    ChildProcess child([] {
        std::signal(SIGUSR1, doNothing);
        std::cout << "asleep" << std::flush;
        sleepForever();
        return 0;
    });
    ASSERT_TRUE(waitUntil([&] { return child.out() == "asleep"; }));
    for (int i = 0; i < 10; ++i) {
        kill(child.pid(), SIGUSR1);
        EXPECT_EQ(child.wait(std::chrono::milliseconds(10)), -1);
    }
    EXPECT_EQ(child.out() + child.err(), "asleep");
    kill(child.pid(), SIGTERM);
    EXPECT_EQ(child.wait(), 128 + SIGTERM);
}
