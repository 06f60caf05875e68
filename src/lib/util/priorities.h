#pragma once

/// Scheduling of a thread. Field names are those of the controller's settings.
struct SPriority {
    int policy;    ///< SCHED_OTHER 0, SCHED_FIFO 1, SCHED_RR 2
    int priority;  ///< nice value (-20 to 19) with policy 0, else the real-time priority (1 to 99)
};

/// Sets the nice value of the calling thread. For a real-time policy it does nothing and succeeds.
/// Threads that the caller starts later inherit the value.
/// @return 0, or -1 with errno set.
int SetNice(const SPriority& priority);

/// Sets policy and priority of the calling thread, despite its name.
/// @return 0, or -1 (unknown policy, or refused by the system; errno then set).
int SetProcessPriority(const SPriority& priority);
