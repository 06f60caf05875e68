#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>

#include <open62541/types.h>

#include "bench/load_commands.h"

namespace bench {

/// The results, counted by all threads.
struct CrowdTally {
    std::atomic<std::size_t> subscribers{0};      // that got their items
    std::atomic<std::size_t> values{0};           // notified to them
    std::atomic<std::size_t> lostSubscribers{0};  // that the server disconnected
    std::atomic<std::size_t> readValues{0};       // by clients that read as fast as they can
    std::atomic<std::size_t> lostReaders{0};      // the slow ones among them
    std::atomic<std::size_t> reconnects{0};
    std::atomic<std::size_t> refusedReconnects{0};
    std::atomic<std::size_t> halfOpen{0};
    std::atomic<std::size_t> malformed{0};
};

/// What each kind of client needs. The threads share it.
struct CrowdPlan {
    std::uint16_t port = 0;
    const CrowdLoad& load;
    std::span<const UA_NodeId> nodes;  // the server's variables
    const std::atomic_bool& over;
    CrowdTally& tally;
};

// Each function runs until the plan is over, whatever the server does to its clients.

/// Sessions with their subscriptions, as SCADA clients have them: a value a second.
void runSubscribers(const CrowdPlan& plan);
/// Reads of 1000 values with ten requests outstanding.
void readFast(const CrowdPlan& plan);
/// Reads that are requested at once and whose answers are taken one every tenth of a second.
void readSlowly(const CrowdPlan& plan);
/// Clients that ask for megabytes and read none of them.
void readNothing(const CrowdPlan& plan);
/// Connects, opens a session, reads one value; every other time leaves without closing anything.
void reconnect(const CrowdPlan& plan);
/// Connections that stop somewhere in their greeting.
void leaveHalfOpen(const CrowdPlan& plan);
/// Requests with some changed bytes.
void sendMalformed(const CrowdPlan& plan);

}  // namespace bench
