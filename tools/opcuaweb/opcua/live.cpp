#include "tools/opcuaweb/opcua/live.h"

#include <open62541/client_subscriptions.h>

#include <algorithm>

#include "tools/opcuaweb/basics/limits.h"
#include "tools/opcuaweb/basics/report.h"
#include "tools/opcuaweb/opcua/reading.h"

namespace tools::opcuaweb {

namespace {

constexpr double kSamplingMs = 250;
constexpr auto kNothingFollowed = static_cast<std::size_t>(-1);

using CreateResponse =
    UaHandle<UA_CreateMonitoredItemsResponse, UA_TYPES_CREATEMONITOREDITEMSRESPONSE>;
using DeleteResponse =
    UaHandle<UA_DeleteMonitoredItemsResponse, UA_TYPES_DELETEMONITOREDITEMSRESPONSE>;
using SubscribeResponse =
    UaHandle<UA_CreateSubscriptionResponse, UA_TYPES_CREATESUBSCRIPTIONRESPONSE>;

std::int64_t nowMs() {
    return unixMs(UA_DateTime_now());
}

}  // namespace

Live::Live(std::string url, Browsers& browsers, Language language)
    : browsers_(browsers), language_(language), session_(std::move(url)) {
    setLink(false, UA_STATUSCODE_BADNOTCONNECTED);
}

Live::~Live() {
    stop();
}

void Live::start() {
    thread_ = std::thread([this] { run(); });
}

void Live::stop() {
    stopping_ = true;
    if (thread_.joinable()) thread_.join();
}

// ---- Connection --------------------------------------------------------------------------------

void Live::run() {
    while (!stopping_) {
        if (connect()) serve();
        watched_ = 0;
        pause(kConnectEvery);
    }
}

bool Live::connect() {
    const UA_StatusCode status = session_.connect();
    items_.clear();  // not before: the former client knew their addresses
    const UA_StatusCode result = status == UA_STATUSCODE_GOOD ? subscribe() : status;
    const bool connected = !UA_StatusCode_isBad(result);
    setLink(connected, result);
    printLink(connected, result);
    return connected;
}

UA_StatusCode Live::subscribe() {
    UA_CreateSubscriptionRequest request = UA_CreateSubscriptionRequest_default();
    request.requestedPublishingInterval = kSamplingMs;
    request.requestedLifetimeCount = 120;
    request.requestedMaxKeepAliveCount = 10;
    UA_Client_getConfig(session_.client())->subscriptionInactivityCallback = onSilence;
    const SubscribeResponse response{
        UA_Client_Subscriptions_create(session_.client(), request, this, nullptr, onEnd)};
    const UA_StatusCode status = response->responseHeader.serviceResult;
    if (UA_StatusCode_isBad(status)) return status;
    subscription_ = response->subscriptionId;
    subscriptionLost_ = false;
    silent_ = false;
    followedVersion_ = kNothingFollowed;
    return status;
}

void Live::serve() {
    using namespace std::chrono_literals;
    UA_StatusCode status = UA_STATUSCODE_GOOD;
    while (!stopping_ && !subscriptionLost_ && !UA_StatusCode_isBad(status) &&
           session_.isConnected()) {
        if (!follow()) break;
        status = session_.idle(20ms);
    }
    if (stopping_) return;
    if (silent_) status = UA_STATUSCODE_BADTIMEOUT;
    if (!UA_StatusCode_isBad(status)) status = UA_STATUSCODE_BADCONNECTIONCLOSED;
    setLink(false, status);
    printLink(false, status);
}

/// Called by the library when not even a keep-alive has come for longer than it should: the server hangs,
/// or the network ends without a word.
void Live::onSilence(UA_Client* /*client*/, UA_UInt32 /*subscription*/, void* context) noexcept {
    static_cast<Live*>(context)->silent_ = true;
    static_cast<Live*>(context)->subscriptionLost_ = true;
}

/// Called by the library when the subscription is gone, no matter which side ended it.
void Live::onEnd(UA_Client* /*client*/, UA_UInt32 /*subscription*/, void* context) noexcept {
    static_cast<Live*>(context)->subscriptionLost_ = true;
}

// ---- Items -------------------------------------------------------------------------------------

/// Makes the items what the pages watch now. @return false if the connection is lost
bool Live::follow() {
    const std::size_t version = browsers_.wantedVersion();
    if (version == followedVersion_) return true;
    const auto wanted = browsers_.wanted();
    std::vector<std::string> added;
    std::vector<std::string> removed;
    for (const std::string& node : wanted) {
        if (!items_.contains(node)) added.push_back(node);
    }
    for (const auto& [node, item] : items_) {
        if (!wanted.contains(node)) removed.push_back(node);
    }
    // The server samples in this order: tags that are neighbours in its memory come one after the other.
    std::ranges::sort(added);
    const bool done = removeItems(removed) && addItems(added);
    followedVersion_ = version;
    watched_ = items_.size();
    return done;
}

void Live::onValue(UA_Client* /*client*/, UA_UInt32 /*subscription*/, void* /*context*/,
                   UA_UInt32 /*item*/, void* context, UA_DataValue* value) noexcept {
    const auto& item = *static_cast<Item*>(context);
    item.live->browsers_.publishValue(item.node, cellOf(item.node, *value));
}

bool Live::addItems(const std::vector<std::string>& nodes) {
    std::vector<Item*> items;
    for (const std::string& node : nodes) {
        auto& item = items_[node] = std::make_unique<Item>(Item{this, node, 0});
        items.push_back(item.get());
    }
    for (std::size_t from = 0; from < items.size(); from += session_.itemsPerCall()) {
        const std::size_t count = std::min(session_.itemsPerCall(), items.size() - from);
        if (!addChunk(items.data() + from, count, true)) return false;
    }
    return true;
}

namespace {

/// A new time counts as a change: the page shows how old a value is although it stands still.
UA_DataChangeFilter onEveryTime() {
    UA_DataChangeFilter filter{};
    filter.trigger = UA_DATACHANGETRIGGER_STATUSVALUETIMESTAMP;
    return filter;
}

bool refusesFilter(UA_StatusCode status) {
    return status == UA_STATUSCODE_BADMONITOREDITEMFILTERUNSUPPORTED ||
           status == UA_STATUSCODE_BADMONITOREDITEMFILTERINVALID ||
           status == UA_STATUSCODE_BADFILTERNOTALLOWED;
}

}  // namespace

/// @param withTimes  items that the server refuses because of it are added without
bool Live::addChunk(Item* const* items, std::size_t count, bool withTimes) {
    UA_DataChangeFilter filter = onEveryTime();
    std::vector<NodeId> ids(count);
    std::vector<UA_MonitoredItemCreateRequest> wanted;
    std::vector<void*> contexts(items, items + count);
    std::vector<UA_Client_DataChangeNotificationCallback> callbacks(count, onValue);
    std::vector<UA_Client_DeleteMonitoredItemCallback> ends(count, nullptr);
    for (std::size_t i = 0; i < count; ++i) {
        static_cast<void>(parseId(items[i]->node, ids[i]));  // checked when the page asked
        wanted.push_back(UA_MonitoredItemCreateRequest_default(*ids[i]));
        auto& parameters = wanted.back().requestedParameters;
        parameters.samplingInterval = kSamplingMs;
        if (!withTimes) continue;
        UA_ExtensionObject_setValueNoDelete(&parameters.filter, &filter,
                                            &UA_TYPES[UA_TYPES_DATACHANGEFILTER]);
    }
    UA_CreateMonitoredItemsRequest request{};
    request.subscriptionId = subscription_;
    request.timestampsToReturn = UA_TIMESTAMPSTORETURN_SOURCE;
    request.itemsToCreate = wanted.data();
    request.itemsToCreateSize = wanted.size();
    const CreateResponse response{UA_Client_MonitoredItems_createDataChanges(
        session_.client(), request, contexts.data(), callbacks.data(), ends.data())};
    const UA_StatusCode status = response->responseHeader.serviceResult;
    if (isRefusal(status)) return addDivided(items, count, withTimes, status);
    if (UA_StatusCode_isBad(status)) return false;
    std::vector<Item*> refused;
    for (std::size_t i = 0; i < std::min(count, response->resultsSize); ++i) {
        const auto& result = response->results[i];
        items[i]->id = UA_StatusCode_isBad(result.statusCode) ? 0 : result.monitoredItemId;
        if (items[i]->id != 0) continue;
        if (withTimes && refusesFilter(result.statusCode)) {
            refused.push_back(items[i]);
            continue;
        }
        browsers_.publishValue(items[i]->node, emptyCell(items[i]->node, result.statusCode));
    }
    return refused.empty() || addChunk(refused.data(), refused.size(), false);
}

/// One node must not take the others' values away, nor a server that takes fewer at a time.
bool Live::addDivided(Item* const* items, std::size_t count, bool withTimes, UA_StatusCode status) {
    if (count > 1) {
        const std::size_t half = count / 2;
        return addChunk(items, half, withTimes) && addChunk(items + half, count - half, withTimes);
    }
    if (withTimes) return addChunk(items, count, false);
    browsers_.publishValue(items[0]->node, emptyCell(items[0]->node, status));
    return true;
}

bool Live::removeItems(const std::vector<std::string>& nodes) {
    std::vector<UA_UInt32> ids;
    for (const std::string& node : nodes) {
        if (items_[node]->id != 0) ids.push_back(items_[node]->id);
    }
    bool done = true;
    for (std::size_t from = 0; done && from < ids.size(); from += session_.itemsPerCall()) {
        done = removeChunk(ids.data() + from, std::min(session_.itemsPerCall(), ids.size() - from));
    }
    if (!done) return false;  // the items live until the client is gone: it knows their addresses
    for (const std::string& node : nodes) {
        items_.erase(node);
    }
    return true;
}

bool Live::removeChunk(UA_UInt32* ids, std::size_t count) {
    UA_DeleteMonitoredItemsRequest request{};
    request.subscriptionId = subscription_;
    request.monitoredItemIds = ids;
    request.monitoredItemIdsSize = count;
    const DeleteResponse response{UA_Client_MonitoredItems_delete(session_.client(), request)};
    const UA_StatusCode status = response->responseHeader.serviceResult;
    if (!isRefusal(status) || count < 2) return !UA_StatusCode_isBad(status);
    return removeChunk(ids, count / 2) && removeChunk(ids + count / 2, count - count / 2);
}

// ---- State -------------------------------------------------------------------------------------

Json Live::link() const {
    const std::lock_guard lock(mutex_);
    return link_;
}

std::string Live::problem(UA_StatusCode status, Language language) const {
    constexpr Text kNoConnectionTo{"Нет связи с сервером OPC UA ",
                                   "No connection to the OPC UA server "};
    return kNoConnectionTo.in(language) + session_.url() + " (" +
           session_.problemText(status, language) + ")";
}

void Live::setLink(bool connected, UA_StatusCode status) {
    Json link = {{"connected", connected}, {"since", nowMs()}, {"problem", nullptr}};
    if (!connected) {
        link["problem"] = {{"ru", problem(status, Language::ru)},
                           {"en", problem(status, Language::en)}};
    }
    {
        const std::lock_guard lock(mutex_);
        const bool same = !link_.is_null() && link_["connected"] == connected;
        if (same) link["since"] = link_["since"];  // only the reason may be another one
        if (link == link_) return;
        link_ = link;
    }
    browsers_.publish("link", link);
}

void Live::printLink(bool connected, UA_StatusCode status) {
    constexpr Text kConnectedTo{"Есть связь с сервером OPC UA ", "Connected to the OPC UA server "};
    if (reported_ == connected) return;
    reported_ = connected;
    report(UA_DateTime_now(),
           connected ? kConnectedTo.in(language_) + session_.url() : problem(status, language_));
}

void Live::pause(std::chrono::milliseconds time) const {
    using namespace std::chrono_literals;
    const auto end = Clock::now() + time;
    while (!stopping_ && Clock::now() < end) {
        std::this_thread::sleep_for(20ms);
    }
}

}  // namespace tools::opcuaweb
