#pragma once

#include <cstddef>
#include <cstdint>

namespace bench {

/// The commands of bench_load_client. Each prints one JSON object on standard output and throws
/// UaError or std::runtime_error when it cannot measure.

struct ReadLoad {
    std::size_t nodesPerRequest = 1000;
    double seconds = 2.0;
};

struct SubscribeLoad {
    std::size_t items = 10'000;
    double seconds = 5.0;
};

/// Values per second that the server delivers when requests always wait for it. Reads the tree's
/// variables in turn. `serverPid` is the process whose processor time is counted.
void loadReads(std::uint16_t port, int serverPid, const ReadLoad& load);

/// Processor time that the server spends on a subscription, once the first values have been sent.
void loadSubscription(std::uint16_t port, int serverPid, const SubscribeLoad& load);

}  // namespace bench
