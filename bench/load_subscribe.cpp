#include <algorithm>
#include <cstdio>
#include <span>
#include <vector>

#include "load_commands.h"
#include "node_listing.h"
#include "process_time.h"
#include "subscription.h"
#include "ua_connection.h"

namespace bench {
namespace {

constexpr std::size_t kItemsPerRequest = 1000;
constexpr int kSilenceMs = 30'000;  // no server keeps its keep-alive back that long

// Until every item has reported its first value.
void awaitFirstValues(Subscription& subscription, std::size_t items) {
    for (std::size_t values = 0; values < items;) {
        const std::size_t more = subscription.receive(kSilenceMs);
        if (more == 0) throw UaError("the first values did not all come");
        values += more;
    }
}

}  // namespace

void loadSubscription(const Target& target, const SubscribeLoad& load) {
    UaConnection connection(target.port);
    const NodeListing listing(connection);
    std::span<const UA_NodeId> nodes(listing.variables());
    if (nodes.size() < load.items) throw UaError("the server has fewer variables than items");
    nodes = nodes.first(load.items);
    Subscription subscription(connection);
    for (std::size_t at = 0; at < nodes.size(); at += kItemsPerRequest) {
        subscription.add(nodes.subspan(at, std::min(kItemsPerRequest, nodes.size() - at)));
    }
    subscription.startPublishing();
    awaitFirstValues(subscription, load.items);

    std::size_t changes = 0;
    const ProcessWindow window(target.pid);
    while (window.elapsed() < load.seconds) {
        const double left = load.seconds - window.elapsed();
        changes += subscription.receive(static_cast<int>(left * 1000) + 1);
    }
    std::printf(R"({"items": %zu, "interval_ms": %g, %s, "changes": %zu})"
                "\n",
                load.items, subscription.intervalMs(), window.json().c_str(), changes);
}

}  // namespace bench
