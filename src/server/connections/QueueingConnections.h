#pragma once

#include <open62541/plugin/eventloop.h>

#include "server/connections/ClientBounds.h"
#include "server/connections/TurnTime.h"

/// Puts a connection manager in front of a loop's TCP manager. The TCP manager would block on a
/// socket as long as its client reads nothing, and all other clients would wait too. The new
/// manager hands bytes to a socket without waiting and keeps the rest until the socket takes it; a
/// client's requests wait while its answers do; a client that exceeds a bound is disconnected. The
/// library finds it first when it looks for a manager of "tcp", and frees it with the loop.
///
/// Call it once per loop, before the server listens. Main thread, as the loop.
/// @param tcp  registered with its loop, which owns it
/// @return false when memory ran out; nothing has changed then
[[nodiscard]] bool queueAnswers(UA_ConnectionManager& tcp, const ClientBounds& bounds = {},
                                ProcessorClock clock = processorTime) noexcept;
