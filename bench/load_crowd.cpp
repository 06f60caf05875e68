#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/crowd.h"
#include "bench/node_listing.h"
#include "bench/ua_connection.h"

namespace bench {
namespace {

constexpr int kPollMs = 20;
constexpr std::size_t kFastReaders = 2;

void print(const CrowdTally& tally) {
    const std::pair<const char*, std::size_t> counts[] = {
        {"subscribers", tally.subscribers},
        {"values", tally.values},
        {"lost_subscribers", tally.lostSubscribers},
        {"read_values", tally.readValues},
        {"lost_readers", tally.lostReaders},
        {"reconnects", tally.reconnects},
        {"reconnects_refused", tally.refusedReconnects},
        {"half_open", tally.halfOpen},
        {"malformed", tally.malformed},
    };
    std::string text;
    for (const auto& [name, count] : counts)
        text += (text.empty() ? "\"" : ", \"") + std::string(name) + "\": " + std::to_string(count);
    std::printf("{%s}\n", text.c_str());
}

/// Waits until the caller closes standard input. Prints meanwhile when all subscribers have their
/// items.
void awaitEnd(const CrowdTally& tally, std::size_t sessions) {
    bool ready = false;
    pollfd input{STDIN_FILENO, POLLIN, 0};
    while (::poll(&input, 1, kPollMs) <= 0) {
        if (ready || tally.subscribers < sessions) continue;
        ready = true;
        std::puts("ready");
        (void)std::fflush(stdout);
    }
}

}  // namespace

void runCrowd(const Target& target, const CrowdLoad& load) {
    if (load.sessions == 0 || load.subscriptions % load.sessions != 0 ||
        load.items % load.subscriptions != 0) {
        throw UaError("subscriptions and items must be shared out evenly");
    }
    UaConnection browsing(target.port);
    const NodeListing listing(browsing);
    browsing.abandon();

    std::atomic_bool over{false};
    CrowdTally tally;
    const CrowdPlan plan{target.port, load, listing.variables(), over, tally};
    std::vector<std::thread> threads;
    for (void (*run)(const CrowdPlan&) :
         {runSubscribers, readSlowly, readNothing, reconnect, leaveHalfOpen, sendMalformed}) {
        threads.emplace_back(run, std::cref(plan));
    }
    for (std::size_t i = 0; i < kFastReaders; ++i)
        threads.emplace_back(readFast, std::cref(plan));
    awaitEnd(tally, load.sessions);
    over = true;
    for (std::thread& thread : threads)
        thread.join();
    print(tally);
}

}  // namespace bench
