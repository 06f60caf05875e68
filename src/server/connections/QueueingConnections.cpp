#include "server/connections/QueueingConnections.h"

#include <memory>
#include <new>

#include "server/connections/QueueingManager.h"

bool queueAnswers(UA_ConnectionManager& tcp, const ClientBounds& bounds,
                  ProcessorClock clock) noexcept {
    std::unique_ptr<QueueingManager> manager(new (std::nothrow)
                                                 QueueingManager(tcp, bounds, clock));
    if (!manager) return false;
    UA_EventLoop& loop = *tcp.eventSource.eventLoop;
    // The loop frees it. Registering fails only for something that is already registered.
    return loop.registerEventSource(&loop, &manager.release()->eventSource) == UA_STATUSCODE_GOOD;
}
