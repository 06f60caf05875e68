#include "lib/util/priorities.h"

#include <sched.h>
#include <sys/resource.h>

namespace {

int schedule(int policy, int realTimePriority) {
    sched_param parameters{};
    parameters.sched_priority = realTimePriority;
    return sched_setscheduler(0, policy, &parameters);
}

}  // namespace

int SetNice(const SPriority& priority) {
    if (priority.policy != SCHED_OTHER) return 0;
    return setpriority(PRIO_PROCESS, 0, priority.priority);
}

int SetProcessPriority(const SPriority& priority) {
    switch (priority.policy) {
        case SCHED_OTHER:
            return schedule(SCHED_OTHER, 0) == -1 ? -1 : SetNice(priority);
        case SCHED_FIFO:
        case SCHED_RR:
            return schedule(priority.policy, priority.priority);
        default:
            return -1;
    }
}
