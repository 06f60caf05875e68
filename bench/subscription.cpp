#include "bench/subscription.h"

#include <string>

namespace bench {

namespace {

constexpr int kPublishRequests = 16;  // outstanding; more than the first values need at once

}  // namespace

Subscription::Subscription(UaConnection& connection, double intervalMs) : connection_(connection) {
    UaHandle<UA_CreateSubscriptionRequest, UA_TYPES_CREATESUBSCRIPTIONREQUEST> request;
    request->requestedPublishingInterval = intervalMs;
    request->requestedLifetimeCount = 1000;
    request->requestedMaxKeepAliveCount = 10;
    request->publishingEnabled = true;
    UaHandle<UA_CreateSubscriptionResponse, UA_TYPES_CREATESUBSCRIPTIONRESPONSE> response;
    connection.call(request, response);
    id_ = response->subscriptionId;
    intervalMs_ = response->revisedPublishingInterval;
}

void Subscription::add(std::span<const UA_NodeId> nodes) {
    UaHandle<UA_CreateMonitoredItemsRequest, UA_TYPES_CREATEMONITOREDITEMSREQUEST> request;
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
    UaHandle<UA_CreateMonitoredItemsResponse, UA_TYPES_CREATEMONITOREDITEMSRESPONSE> response;
    connection_.call(request, response);
    for (const auto& result : std::span(response->results, response->resultsSize)) {
        if (result.statusCode != UA_STATUSCODE_GOOD) {
            throw UaError(std::string("CreateMonitoredItems: ") +
                          UA_StatusCode_name(result.statusCode));
        }
    }
}

void Subscription::postPublish(std::uint32_t subscription, std::uint32_t acknowledged) {
    UaHandle<UA_PublishRequest, UA_TYPES_PUBLISHREQUEST> request;
    if (acknowledged != 0) {
        request->subscriptionAcknowledgements = static_cast<UA_SubscriptionAcknowledgement*>(
            UA_Array_new(1, &UA_TYPES[UA_TYPES_SUBSCRIPTIONACKNOWLEDGEMENT]));
        if (request->subscriptionAcknowledgements == nullptr) throw UaError("out of memory");
        request->subscriptionAcknowledgementsSize = 1;
        *request->subscriptionAcknowledgements = {subscription, acknowledged};
    }
    (void)connection_.post(connection_.prepare(request));
}

void Subscription::startPublishing() {
    for (int i = 0; i < kPublishRequests; ++i) {
        postPublish(0, 0);
    }
    connection_.flush();
}

std::size_t Subscription::receive(int deadlineMs) {
    RawResponse raw;
    if (!connection_.nextResponse(raw, deadlineMs)) return 0;
    UaHandle<UA_PublishResponse, UA_TYPES_PUBLISHRESPONSE> response;
    UaConnection::decode(raw, response);
    const UA_NotificationMessage& message = response->notificationMessage;
    std::size_t values = 0;
    for (const auto& part : std::span(message.notificationData, message.notificationDataSize)) {
        if (part.content.decoded.type != &UA_TYPES[UA_TYPES_DATACHANGENOTIFICATION]) continue;
        values += static_cast<const UA_DataChangeNotification*>(part.content.decoded.data)
                      ->monitoredItemsSize;
    }
    // A keep-alive carries the number of a message still to come, which must not be acknowledged.
    const std::uint32_t number = message.notificationDataSize != 0 ? message.sequenceNumber : 0;
    postPublish(response->subscriptionId, number);
    connection_.flush();
    return values;
}

}  // namespace bench
