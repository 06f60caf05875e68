#include "lib/util/priorities.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>

#include <cerrno>

#include "support/child_process.h"

namespace {

TEST(Priorities, AreSetForThisProcess) {
    ChildProcess child([] {
        EXPECT_EQ(SetNice({SCHED_OTHER, 5}), 0);
        EXPECT_EQ(SetNice({SCHED_FIFO, 7}), 0) << "nothing to do";
        EXPECT_EQ(getpriority(PRIO_PROCESS, 0), 5);
        EXPECT_EQ(SetProcessPriority({SCHED_OTHER, 9}), 0);
        EXPECT_EQ(getpriority(PRIO_PROCESS, 0), 9);
        EXPECT_EQ(SetProcessPriority({SCHED_BATCH, 0}), -1);
        EXPECT_EQ(sched_getscheduler(0), SCHED_OTHER);
        for (const int policy : {SCHED_FIFO, SCHED_RR}) {
            if (SetProcessPriority({policy, 3}) == -1 && errno == EPERM) return 1;
            sched_param parameters{};
            sched_getparam(0, &parameters);
            EXPECT_EQ(sched_getscheduler(0), policy);
            EXPECT_EQ(parameters.sched_priority, 3);
            EXPECT_EQ(SetProcessPriority({policy, 1000}), -1);
        }
        return 0;
    });
    const int status = child.wait();
    if (status == 1) GTEST_SKIP() << "this user may not use real-time scheduling";
    EXPECT_EQ(status, 0);
}

}  // namespace
