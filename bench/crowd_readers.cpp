#include <algorithm>
#include <chrono>
#include <thread>

#include "bench/crowd.h"
#include "bench/read_requests.h"
#include "bench/silent_clients.h"
#include "bench/ua_connection.h"

namespace bench {
namespace {

constexpr std::size_t kNodes = 1000;       // a request
constexpr std::size_t kOutstanding = 10;   // of a fast reader
constexpr std::size_t kAskedAtOnce = 100;  // by a slow one: 4 MB of answers
constexpr auto kSlowPause = std::chrono::milliseconds(100);
constexpr int kTimeoutMs = 200;

/// Keeps `outstanding` reads outstanding and takes the answers, with a pause after each.
void keepReading(const CrowdPlan& plan, std::size_t outstanding, std::chrono::milliseconds pause) {
    UaConnection connection(plan.port);
    const PreparedRequest read =
        prepareRead(connection, plan.nodes.first(std::min(kNodes, plan.nodes.size())));
    for (std::size_t i = 0; i < outstanding; ++i)
        (void)connection.post(read);
    while (!plan.over) {
        RawResponse answer;
        if (!connection.nextResponse(answer, kTimeoutMs)) continue;
        plan.tally.readValues += kNodes;
        (void)connection.post(read);
        if (pause.count() != 0) std::this_thread::sleep_for(pause);
    }
    connection.abandon();
}

/// Reconnects if the server disconnects the reader.
void readUntilOver(const CrowdPlan& plan, std::size_t outstanding,
                   std::chrono::milliseconds pause) {
    while (!plan.over) {
        try {
            keepReading(plan, outstanding, pause);
        } catch (const UaError&) {
            ++plan.tally.lostReaders;
        }
    }
}

}  // namespace

void readFast(const CrowdPlan& plan) {
    readUntilOver(plan, kOutstanding, {});
}

void readSlowly(const CrowdPlan& plan) {
    readUntilOver(plan, kAskedAtOnce, kSlowPause);
}

void readNothing(const CrowdPlan& plan) {
    askWithoutReading(plan.port, 1, plan.over);
}

}  // namespace bench
