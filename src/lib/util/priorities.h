#pragma once

/// Scheduling of a process. Names as the controller's settings have them.
struct SPriority {
    int policy;    ///< SCHED_OTHER 0, SCHED_FIFO 1, SCHED_RR 2
    int priority;  ///< nice value (-20 to 19) with policy 0, else the real-time priority (1 to 99)
};

/// Sets the nice value of this process. Does nothing, with success, for a real-time policy.
/// @return 0, or -1 with errno set.
int SetNice(const SPriority& priority);

/// Sets policy and priority of this process.
/// @return 0, or -1 (unknown policy, or refused by the system; errno then set).
int SetProcessPriority(const SPriority& priority);
