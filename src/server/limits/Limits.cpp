#include "server/limits/Limits.h"

#include <algorithm>

namespace {

/// For clients that are looking for an endpoint or have just lost their connection.
constexpr UA_UInt16 kChannelsBesideSessions = 4;
constexpr UA_UInt16 kChannels = 64;

}  // namespace

std::size_t wantedDescriptors() {
    return kChannels + kOwnDescriptors;
}

namespace {

/// Twenty clients with one connection for values and one for history each stay well below this,
/// even if all of them reconnect at once; each connection costs at most some 100 kB in buffers.
void limitConnections(UA_ServerConfig& config, std::size_t descriptors) {
    const std::size_t left = descriptors > kOwnDescriptors ? descriptors - kOwnDescriptors : 0;
    config.maxSecureChannels = static_cast<UA_UInt16>(
        std::clamp<std::size_t>(left, kChannelsBesideSessions + 1, kChannels));
    config.maxSessions = static_cast<UA_UInt16>(config.maxSecureChannels - kChannelsBesideSessions);
}

}  // namespace

void applyLimits(UA_ServerConfig& config, std::size_t descriptors) {
    limitConnections(config, descriptors);
    // clang-format off
    config.maxSessionTimeout = 120'000.0;           // ms; a client that vanished without a word is gone then

    // A message, in bytes and in chunks. Requests up to the numbers below fit, with node ids of 100
    // bytes; so do their answers. A client's unfinished message costs no more than this.
    config.tcpMaxMsgSize = 2U << 20;
    config.tcpMaxChunks = 512;                      // clients that use the smallest chunks, of 8 kB, need 256

    // One request. The slowest of these keeps the others waiting for some 20 ms.
    config.maxNodesPerRead = 10'000;
    config.maxNodesPerWrite = 2'000;
    config.maxNodesPerRegisterNodes = 10'000;
    config.maxNodesPerBrowse = 200;
    config.maxReferencesPerNode = 1'000;            // the rest comes with BrowseNext
    config.maxNodesPerTranslateBrowsePathsToNodeIds = 1'000;
    config.maxNodesPerMethodCall = 10;              // ResendData of a full subscription takes 2 ms
    config.maxNodesPerNodeManagement = 1;           // refused anyway
    config.maxMonitoredItemsPerCall = 10'000;

    // Subscriptions.
    config.maxSubscriptionsPerSession = 40;
    config.maxSubscriptions = 40U * 60U;            // so that nobody's share depends on the others
    config.maxMonitoredItems = kItemsInAll;
    config.maxMonitoredItemsPerSubscription = kItemsPerSession;
    config.queueSizeLimits = {1, kLongestQueue};    // values of one item that wait for a publish request
    config.maxNotificationsPerPublish = 1'000;      // about 40 kB an answer
    config.maxRetransmissionQueueSize = 20;         // answers that wait for their acknowledgement, a session
    config.maxPublishReqPerSession = 100;           // two for each subscription and some more
    config.keepAliveCountLimits = {1, 100};
    config.lifeTimeCountLimits = {3, 300};          // at least three times the keep-alive count
    // clang-format on
}
