#include <algorithm>
#include <cstdio>
#include <memory>
#include <span>
#include <vector>

#include "bench/load_commands.h"
#include "bench/node_listing.h"
#include "bench/process_time.h"
#include "bench/subscription.h"
#include "bench/ua_connection.h"

namespace bench {
namespace {

constexpr std::size_t kItemsPerRequest = 1000;
constexpr std::size_t kItemsPerSession = 10'000;  // servers limit what one session may have
constexpr int kSilenceMs = 30'000;                // longer than any server's keep-alive interval
constexpr double kSettleSeconds = 1;  // messages of the first sessions wait until the last is open
constexpr int kTurnMs = 20;  // one session is waited for while the others' messages pile up

/// A session with one subscription.
class Subscriber {
  public:
    Subscriber(std::uint16_t port, std::span<const UA_NodeId> nodes)
        : connection_(port), subscription_(connection_) {
        for (std::size_t at = 0; at < nodes.size(); at += kItemsPerRequest) {
            subscription_.add(nodes.subspan(at, std::min(kItemsPerRequest, nodes.size() - at)));
        }
        subscription_.startPublishing();
        while (values_ < nodes.size()) {
            if (receive(kSilenceMs) == 0) throw UaError("the first values did not all come");
        }
    }

    std::size_t receive(int deadlineMs) {
        const std::size_t more = subscription_.receive(deadlineMs);
        values_ += more;
        return more;
    }
    double intervalMs() const { return subscription_.intervalMs(); }

  private:
    UaConnection connection_;
    Subscription subscription_;
    std::size_t values_ = 0;
};

using Subscribers = std::vector<std::unique_ptr<Subscriber>>;

Subscribers subscribe(std::uint16_t port, std::size_t items) {
    UaConnection browsing(port);
    const NodeListing listing(browsing);
    std::span<const UA_NodeId> nodes(listing.variables());
    if (nodes.size() < items) throw UaError("the server has fewer variables than items");
    nodes = nodes.first(items);
    Subscribers subscribers;
    for (std::size_t at = 0; at < items; at += kItemsPerSession) {
        const auto own = nodes.subspan(at, std::min(kItemsPerSession, items - at));
        subscribers.push_back(std::make_unique<Subscriber>(port, own));
    }
    return subscribers;
}

/// Takes everything that has arrived, waiting a moment for the first. @return the number of values
std::size_t receiveAll(const Subscribers& subscribers) {
    std::size_t values = 0;
    int waitMs = kTurnMs;
    for (const auto& subscriber : subscribers) {
        while (const std::size_t more = subscriber->receive(waitMs)) {
            values += more;
            waitMs = 0;
        }
        waitMs = 0;
    }
    return values;
}

}  // namespace

void loadSubscription(const Target& target, const SubscribeLoad& load) {
    const Subscribers subscribers = subscribe(target.port, load.items);
    const ProcessWindow settling(target.pid);
    while (settling.elapsed() < kSettleSeconds)
        (void)receiveAll(subscribers);
    std::size_t changes = 0;
    const ProcessWindow window(target.pid);
    while (load.changes != 0 ? changes < load.changes : window.elapsed() < load.seconds) {
        changes += receiveAll(subscribers);
    }
    std::printf(R"({"items": %zu, "interval_ms": %g, %s, "changes": %zu})"
                "\n",
                load.items, subscribers.front()->intervalMs(), window.json().c_str(), changes);
}

}  // namespace bench
