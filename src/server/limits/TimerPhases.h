#pragma once

#include <open62541/plugin/eventloop.h>

/// Has the loop's repeated timers fall due at different moments. The library moves timers of equal
/// or multiple intervals to the same moment, and calls all that are due before it looks at a socket
/// again: the subscriptions of all clients are then sampled in one go while everybody else waits.
/// Here each timer has a phase of its own within its interval and keeps it, also after a delay.
/// What one timer does by itself is up to the limits of items.
///
/// Once per loop, before timers are added to it. Main thread, as the loop. A process has loops of
/// one kind only.
void spreadTimers(UA_EventLoop& loop) noexcept;
