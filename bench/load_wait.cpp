#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "bench/load_commands.h"
#include "bench/pen_requests.h"
#include "bench/read_requests.h"
#include "bench/silent_clients.h"
#include "bench/subscription.h"
#include "bench/ua_connection.h"
#include "bench/waits.h"

namespace bench {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Millis = std::chrono::duration<double, std::milli>;
using Seconds = std::chrono::duration<double>;

constexpr auto kReadEvery = 2ms;
constexpr int kSilenceMs = 30'000;

/// The end of a measurement that begins now. Each thread determines it when it is connected,
/// because connecting may take longer than a short measurement.
Clock::time_point endAfter(Seconds length) {
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(length);
}

/// A read every two milliseconds, whether the one before was answered or not. Each is measured from
/// the moment at which it was due.
void timeReads(std::uint16_t port, Seconds length, Waits& waits) {
    UaConnection connection(port);
    const PreparedRequest read = prepareTimeRead(connection, 1);

    std::map<std::uint32_t, Clock::time_point> due;
    const Clock::time_point end = endAfter(length);
    Clock::time_point next = Clock::now();
    while (next < end || !due.empty()) {
        while (next < end && next <= Clock::now()) {
            due.emplace(connection.post(read), next);
            next += kReadEvery;
        }
        RawResponse answer;
        if (!connection.nextResponse(answer, due.empty() ? 0 : 1)) continue;
        const auto found = due.find(answer.requestId);
        if (found == due.end()) throw UaError("Read: the answer of another request");
        waits.add(Millis(Clock::now() - found->second).count());
        due.erase(found);
    }
}

/// Lateness of each notification of a value that changes all the time.
void timeNotifications(std::uint16_t port, Seconds length, Waits& waits) {
    UaConnection connection(port);
    Subscription subscription(connection);
    const UA_NodeId node = UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVERSTATUS_CURRENTTIME);
    subscription.add({&node, 1});
    subscription.startPublishing();
    if (subscription.receive(kSilenceMs) == 0) throw UaError("no first value");
    const Clock::time_point end = endAfter(length);
    Clock::time_point last = Clock::now();
    while (Clock::now() < end || waits.empty()) {
        if (subscription.receive(kSilenceMs) == 0) continue;
        const auto now = Clock::now();
        waits.add(std::max(0.0, Millis(now - last).count() - subscription.intervalMs()));
        last = now;
    }
}

/// Reads of all pens, one after the other without a pause, and the time of each.
void readPens(std::uint16_t port, std::size_t pens, Seconds length, Waits& waits) {
    UaConnection connection(port);
    const PreparedRequest read = prepareHistoryRead(connection, 1, pens);
    const Clock::time_point end = endAfter(length);
    while (Clock::now() < end) {
        const auto begin = Clock::now();
        (void)connection.post(read);
        RawResponse answer;
        (void)connection.nextResponse(answer);
        UaHandle<UA_HistoryReadResponse, UA_TYPES_HISTORYREADRESPONSE> response;
        UaConnection::decode(answer, response);
        if (response->resultsSize != pens) throw UaError("HistoryRead: wrong answer");
        waits.add(Millis(Clock::now() - begin).count());
    }
}

}  // namespace

void measureWaits(const Target& target, const WaitLoad& load) {
    const Seconds length(load.seconds);
    Waits reads;
    Waits notifications;
    Waits history;
    std::exception_ptr failure;
    std::atomic_flag failed;
    const auto guarded = [&](const std::function<void()>& work) {
        return std::thread([&, work] {
            try {
                work();
            } catch (...) {
                if (!failed.test_and_set()) failure = std::current_exception();
            }
        });
    };
    std::vector<std::thread> threads;
    threads.push_back(guarded([&] { timeReads(target.port, length, reads); }));
    threads.push_back(guarded([&] { timeNotifications(target.port, length, notifications); }));
    if (load.pens != 0) {
        threads.push_back(guarded([&] { readPens(target.port, load.pens, length, history); }));
    }
    std::atomic_bool over{false};
    std::thread silent = guarded([&] { askWithoutReading(target.port, load.silent, over); });
    for (std::thread& thread : threads) {
        thread.join();
    }
    over = true;
    silent.join();
    if (failure) std::rethrow_exception(failure);
    const std::string ofHistory = load.pens != 0 ? R"(, "history": )" + history.json() : "";
    std::printf(R"({"read": %s, "notification": %s%s})"
                "\n",
                reads.json().c_str(), notifications.json().c_str(), ofHistory.c_str());
}

}  // namespace bench
