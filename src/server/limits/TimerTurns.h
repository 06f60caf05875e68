#pragma once

#include <open62541/plugin/eventloop.h>

/// Makes a loop's repeated timers take turns with its sockets. The library moves timers of equal or
/// multiple intervals to the same moment and calls all that are due before it serves a socket
/// again, so the items of all clients are sampled in one go while everybody else waits. Here each
/// timer has its own phase within its interval and keeps it even after a delay. In each round of
/// the loop, due timers are called in order for a few milliseconds, and the others in the next
/// rounds. A timer that is due again before it was called is called only once: a server with more
/// to sample than it has time for samples less often, but still answers requests.
///
/// No timer is called while the loop stops.
///
/// A single call may take longer; the limits on monitored items bound it.
///
/// Call it once per loop, before timers are added. Main thread, as the loop.
/// @return false when memory ran out; nothing has changed then
[[nodiscard]] bool giveTimersTurns(UA_EventLoop& loop) noexcept;
