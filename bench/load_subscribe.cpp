#include <algorithm>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "load_commands.h"
#include "node_listing.h"
#include "process_time.h"
#include "ua_connection.h"

namespace bench {
namespace {

constexpr std::size_t kItemsPerRequest = 1000;
constexpr int kPublishRequests = 16;  // outstanding; more than the first values need at once
constexpr int kSilenceMs = 30'000;    // no server keeps its keep-alive back that long

class Subscription {
  public:
    explicit Subscription(UaConnection& connection) : connection_(connection) {
        Owned<UA_CreateSubscriptionRequest> request(UA_TYPES_CREATESUBSCRIPTIONREQUEST);
        request->requestedPublishingInterval = 0;  // the shortest that the server gives
        request->requestedLifetimeCount = 1000;
        request->requestedMaxKeepAliveCount = 10;
        request->publishingEnabled = true;
        Owned<UA_CreateSubscriptionResponse> response(UA_TYPES_CREATESUBSCRIPTIONRESPONSE);
        connection.call(request, response);
        id_ = response->subscriptionId;
        intervalMs_ = response->revisedPublishingInterval;
    }

    double intervalMs() const { return intervalMs_; }

    /// Adds items that are sampled at the publishing interval.
    void add(std::span<const UA_NodeId> nodes);
    /// From now on publish requests are outstanding; no other service may be called.
    void startPublishing();
    /// Takes one notification message or keep-alive; the number of values in it. `deadlineMs` from
    /// now at most; 0 when nothing came.
    std::size_t receive(int deadlineMs);

  private:
    void postPublish(std::uint32_t acknowledged);

    UaConnection& connection_;
    UA_UInt32 id_ = 0;
    double intervalMs_ = 0;
};

void Subscription::add(std::span<const UA_NodeId> nodes) {
    Owned<UA_CreateMonitoredItemsRequest> request(UA_TYPES_CREATEMONITOREDITEMSREQUEST);
    request->subscriptionId = id_;
    request->timestampsToReturn = UA_TIMESTAMPSTORETURN_SOURCE;
    request->itemsToCreate = static_cast<UA_MonitoredItemCreateRequest*>(
        UA_Array_new(nodes.size(), &UA_TYPES[UA_TYPES_MONITOREDITEMCREATEREQUEST]));
    if (request->itemsToCreate == nullptr) throw UaError("out of memory");
    request->itemsToCreateSize = nodes.size();
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        UA_MonitoredItemCreateRequest& item = request->itemsToCreate[i];
        if (UA_NodeId_copy(&nodes[i], &item.itemToMonitor.nodeId) != UA_STATUSCODE_GOOD) {
            throw UaError("out of memory");
        }
        item.itemToMonitor.attributeId = UA_ATTRIBUTEID_VALUE;
        item.monitoringMode = UA_MONITORINGMODE_REPORTING;
        item.requestedParameters.clientHandle = static_cast<UA_UInt32>(i);
        item.requestedParameters.samplingInterval = intervalMs_;
        item.requestedParameters.queueSize = 1;
        item.requestedParameters.discardOldest = true;
    }
    Owned<UA_CreateMonitoredItemsResponse> response(UA_TYPES_CREATEMONITOREDITEMSRESPONSE);
    connection_.call(request, response);
    for (const auto& result : std::span(response->results, response->resultsSize)) {
        if (result.statusCode != UA_STATUSCODE_GOOD) {
            throw UaError(std::string("CreateMonitoredItems: ") +
                          UA_StatusCode_name(result.statusCode));
        }
    }
}

void Subscription::postPublish(std::uint32_t acknowledged) {
    Owned<UA_PublishRequest> request(UA_TYPES_PUBLISHREQUEST);
    if (acknowledged != 0) {
        request->subscriptionAcknowledgements = static_cast<UA_SubscriptionAcknowledgement*>(
            UA_Array_new(1, &UA_TYPES[UA_TYPES_SUBSCRIPTIONACKNOWLEDGEMENT]));
        if (request->subscriptionAcknowledgements == nullptr) throw UaError("out of memory");
        request->subscriptionAcknowledgementsSize = 1;
        *request->subscriptionAcknowledgements = {id_, acknowledged};
    }
    (void)connection_.post(connection_.prepare(request));
}

void Subscription::startPublishing() {
    for (int i = 0; i < kPublishRequests; ++i) {
        postPublish(0);
    }
    connection_.flush();
}

std::size_t Subscription::receive(int deadlineMs) {
    RawResponse raw;
    if (!connection_.nextResponse(raw, deadlineMs)) return 0;
    Owned<UA_PublishResponse> response(UA_TYPES_PUBLISHRESPONSE);
    UaConnection::decode(raw, response);
    const UA_NotificationMessage& message = response->notificationMessage;
    std::size_t values = 0;
    for (const auto& part : std::span(message.notificationData, message.notificationDataSize)) {
        if (part.content.decoded.type != &UA_TYPES[UA_TYPES_DATACHANGENOTIFICATION]) continue;
        values += static_cast<const UA_DataChangeNotification*>(part.content.decoded.data)
                      ->monitoredItemsSize;
    }
    // A keep-alive carries the number of a message still to come, which must not be acknowledged.
    postPublish(message.notificationDataSize != 0 ? message.sequenceNumber : 0);
    connection_.flush();
    return values;
}

// Until every item has told its first value.
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
