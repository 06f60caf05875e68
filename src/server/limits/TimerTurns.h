#pragma once

#include <open62541/plugin/eventloop.h>

/// Has a loop's repeated timers take turns with its sockets. The library moves timers of equal or
/// multiple intervals to the same moment, and calls all that are due before it looks at a socket
/// again: the items of all clients are then sampled in one go while everybody else waits. Here each
/// timer has a phase of its own within its interval and keeps it, also after a delay. Timers that
/// are due are called in order for a few milliseconds in each round of the loop, the others in the
/// next rounds. One that falls due again before it was called is called once: a server with more to
/// sample than it has time for samples less often, and answers all the same.
///
/// None is called while the loop stops.
///
/// One call of one timer may take longer; what it does is up to the limits of items.
///
/// Once per loop, before timers are added to it. Main thread, as the loop.
/// @return false when memory ran out; everything is then as before
[[nodiscard]] bool giveTimersTurns(UA_EventLoop& loop) noexcept;
