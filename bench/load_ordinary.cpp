#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <map>
#include <span>
#include <thread>

#include "bench/load_commands.h"
#include "bench/node_listing.h"
#include "bench/process_time.h"
#include "bench/read_requests.h"
#include "bench/subscription.h"
#include "bench/ua_connection.h"
#include "bench/waits.h"

namespace bench {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Millis = std::chrono::duration<double, std::milli>;

constexpr std::size_t kReadNodes = 100;
constexpr auto kReadEvery = 50ms;
constexpr std::size_t kItems = 500;
constexpr double kPublishEveryMs = 500;
constexpr int kSilenceMs = 30'000;  // a server that is silent for this long has lost the client

/// The waits of an operator's client: each read is measured from the moment at which it was due,
/// and also the part of that time in which the server ran, for any client; the rest is up to the
/// machine.
struct ReadWaits {
    Waits asSeen;
    Waits serverRan;
};

struct Due {
    Clock::time_point at;
    std::chrono::nanoseconds ranBefore;  // the server's processor time until then
};

void timeReads(const Target& target, std::span<const UA_NodeId> nodes, Clock::time_point end,
               ReadWaits& waits) {
    UaConnection connection(target.port);
    const PreparedRequest read = prepareRead(connection, nodes);
    std::map<std::uint32_t, Due> due;
    Clock::time_point next = Clock::now();
    while (next < end || !due.empty()) {
        while (next < end && next <= Clock::now()) {
            const auto ran = processTime(target.pid).running;
            due.emplace(connection.post(read), Due{next, ran});
            next += kReadEvery;
        }
        const auto pause = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
        const int untilNext = static_cast<int>(std::max<std::int64_t>(pause.count(), 0));
        RawResponse answer;
        if (!connection.nextResponse(answer, next < end ? untilNext : kSilenceMs)) {
            if (next >= end) throw UaError("Read: no answer");
            continue;
        }
        const auto found = due.find(answer.requestId);
        if (found == due.end()) throw UaError("Read: the answer of another request");
        const std::chrono::nanoseconds waited = Clock::now() - found->second.at;
        const auto ran = processTime(target.pid).running - found->second.ranBefore;
        waits.asSeen.add(Millis(waited).count());
        // This client may lose its core between the two, while the server goes on.
        waits.serverRan.add(Millis(std::min(ran, waited)).count());
        due.erase(found);
    }
}

/// Lateness of the notifications. Each has a value, because one of the items is the time.
void timeNotifications(const Target& target, std::span<const UA_NodeId> nodes,
                       Clock::time_point end, Waits& waits) {
    UaConnection connection(target.port);
    Subscription subscription(connection, kPublishEveryMs);
    const UA_NodeId time = UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVERSTATUS_CURRENTTIME);
    subscription.add({&time, 1});
    subscription.add(nodes.first(kItems - 1));
    subscription.startPublishing();
    for (std::size_t values = 0; values < kItems;) {
        const std::size_t more = subscription.receive(kSilenceMs);
        if (more == 0) throw UaError("the first values did not all come");
        values += more;
    }
    auto last = Clock::now();
    (void)subscription.receive(kSilenceMs);  // the first interval begins anywhere
    last = Clock::now();
    while (Clock::now() < end || waits.empty()) {
        if (subscription.receive(kSilenceMs) == 0) throw UaError("no notification");
        const auto now = Clock::now();
        waits.add(std::max(0.0, Millis(now - last).count() - subscription.intervalMs()));
        last = now;
    }
}

}  // namespace

void measureOrdinary(const Target& target, const OrdinaryLoad& load) {
    UaConnection browsing(target.port);
    const NodeListing listing(browsing);
    const std::span<const UA_NodeId> nodes(listing.variables());
    if (nodes.size() < kItems) throw UaError("the server has fewer variables than items");
    browsing.abandon();

    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                        std::chrono::duration<double>(load.seconds));
    ReadWaits reads;
    Waits notifications;
    std::exception_ptr failure;
    std::thread subscriber([&] {
        try {
            timeNotifications(target, nodes, end, notifications);
        } catch (...) {
            failure = std::current_exception();
        }
    });
    std::exception_ptr failedRead;
    try {
        timeReads(target, nodes.first(kReadNodes), end, reads);
    } catch (...) {
        failedRead = std::current_exception();
    }
    subscriber.join();
    for (const std::exception_ptr& thrown : {failedRead, failure})
        if (thrown) std::rethrow_exception(thrown);
    std::printf(R"({"read": %s, "read_server_ran": %s, "notification": %s})"
                "\n",
                reads.asSeen.json().c_str(), reads.serverRan.json().c_str(),
                notifications.json().c_str());
}

}  // namespace bench
