#include "server/limits/SessionGuard.h"

#include <open62541/nodeids.h>

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <new>
#include <utility>

#include "server/limits/Limits.h"

// ---- What the library says ---------------------------------------------------------------------

namespace {

SessionGuard* installed = nullptr;  // the library's notifications carry no context

/// @return null when the notification does not contain it
template <class T>
T* said(const UA_KeyValueMap& payload, const char* name, int type) {
    const UA_QualifiedName key = UA_QUALIFIEDNAME(0, const_cast<char*>(name));
    const UA_Variant* const value = UA_KeyValueMap_get(&payload, key);
    if (value == nullptr || !UA_Variant_hasScalarType(value, &UA_TYPES[type])) return nullptr;
    return static_cast<T*>(value->data);
}

/// OPC 10000-4, 5.14.2: at least three keep-alive times. The notification points into the
/// subscription and comes before the client is answered, so the answer states the limited value.
void limitLifetime(const UA_KeyValueMap& payload) {
    const auto* const interval = said<UA_Double>(payload, "publishing-interval", UA_TYPES_DOUBLE);
    auto* const lifetime = said<UA_UInt32>(payload, "lifetime-count", UA_TYPES_UINT32);
    auto* const keepAlive = said<UA_UInt32>(payload, "max-keepalive-count", UA_TYPES_UINT32);
    if (interval == nullptr || lifetime == nullptr || keepAlive == nullptr) return;
    const double most = std::max(3.0, kSubscriptionLifetimeMs / *interval);
    if (*lifetime <= most) return;
    *lifetime = static_cast<UA_UInt32>(most);
    *keepAlive = std::min(*keepAlive, *lifetime / 3);
}

}  // namespace

SessionGuard::SessionGuard(UA_Server* server) : server_(server) {
    assert(installed == nullptr);
    installed = this;
    // Reserved, so that the notification of a new session never allocates: nothing may be thrown
    // through the library.
    sessions_.reserve(config().maxSessions);
    config().sessionNotificationCallback = [](UA_Server*, UA_ApplicationNotificationType type,
                                              const UA_KeyValueMap payload) {
        const auto* const id = said<UA_NodeId>(payload, "session-id", UA_TYPES_NODEID);
        if (id != nullptr) installed->onSession(type, *id);
    };
    config().serviceNotificationCallback = [](UA_Server*, UA_ApplicationNotificationType type,
                                              const UA_KeyValueMap payload) {
        const auto* const id = said<UA_NodeId>(payload, "session-id", UA_TYPES_NODEID);
        const auto* const service = said<UA_NodeId>(payload, "service-type", UA_TYPES_NODEID);
        if (id == nullptr || service == nullptr) return;
        const bool begins = type == UA_APPLICATIONNOTIFICATIONTYPE_SERVICE_BEGIN;
        installed->onService(begins, *id, *service);
    };
    config().subscriptionNotificationCallback = [](UA_Server*, UA_ApplicationNotificationType type,
                                                   const UA_KeyValueMap payload) {
        if (type == UA_APPLICATIONNOTIFICATIONTYPE_SUBSCRIPTION_CREATED ||
            type == UA_APPLICATIONNOTIFICATIONTYPE_SUBSCRIPTION_MODIFIED)
            limitLifetime(payload);
    };
    config().monitoredItemRegisterCallback =
        [](UA_Server*, const UA_NodeId* session, void*, const UA_NodeId*, void*, UA_UInt32,
           UA_Boolean removed) { installed->onItem(session, removed); };
    constexpr double kPeriodMs = 1000.0;
    // If this fails because memory ran out, the start fails soon afterwards.
    (void)UA_Server_addRepeatedCallback(
        server_, [](UA_Server*, void* self) { static_cast<SessionGuard*>(self)->closeAbandoned(); },
        this, kPeriodMs, &timer_);
}

SessionGuard::~SessionGuard() {
    UA_Server_removeCallback(server_, timer_);
    config().sessionNotificationCallback = nullptr;
    config().serviceNotificationCallback = nullptr;
    config().subscriptionNotificationCallback = nullptr;
    config().monitoredItemRegisterCallback = nullptr;
    installed = nullptr;
}

UA_ServerConfig& SessionGuard::config() const {
    return *UA_Server_getConfig(server_);
}

SessionGuard::Session* SessionGuard::find(const UA_NodeId& id) {
    const auto found = std::find_if(sessions_.begin(), sessions_.end(),
                                    [&](const Session& s) { return UA_NodeId_equal(&s.id, &id); });
    return found != sessions_.end() ? &*found : nullptr;
}

// ---- Sessions ----------------------------------------------------------------------------------

void SessionGuard::onSession(UA_ApplicationNotificationType type, const UA_NodeId& id) {
    const UA_DateTime now = UA_DateTime_nowMonotonic();
    if (type == UA_APPLICATIONNOTIFICATIONTYPE_SESSION_CREATED) sessions_.push_back({id, now});
    Session* const session = find(id);
    if (session == nullptr) return;
    if (type == UA_APPLICATIONNOTIFICATIONTYPE_SESSION_ACTIVATED) {
        session->activated = true;
        session->withoutConnectionSince = 0;
    } else if (type == UA_APPLICATIONNOTIFICATIONTYPE_SESSION_DEACTIVATED) {
        session->withoutConnectionSince = now;
    } else if (type == UA_APPLICATIONNOTIFICATIONTYPE_SESSION_CLOSED) {
        sessions_.erase(sessions_.begin() + (session - sessions_.data()));
    }
}

void SessionGuard::onService(bool begins, const UA_NodeId& session, const UA_NodeId& service) {
    if (begins) {
        if (Session* const known = find(session)) known->lastRequest = UA_DateTime_nowMonotonic();
    }
    switch (service.identifier.numeric) {
        case UA_NS0ID_CREATESESSIONREQUEST:
            if (begins) {
                makeRoom();
            } else if (!sessions_.empty() && saysTooMuch(sessions_.back().id)) {
                close(sessions_.back().id);  // its client finds out when it activates it
            }
            break;
        case UA_NS0ID_CREATEMONITOREDITEMSREQUEST:
            if (begins) limitItems(session);
            begins ? beginItems(session, 1) : endItems(session);
            break;
        case UA_NS0ID_MODIFYMONITOREDITEMSREQUEST:
            begins ? beginItems(session, 0) : endItems(session);
            break;
        case UA_NS0ID_SETTRIGGERINGREQUEST:
            boundMemory(begins, {.grown = kLinksPerItem * sizeof(UA_UInt32)});
            break;
        case UA_NS0ID_BROWSEREQUEST:
            boundMemory(begins, {.arrays = kBytesPerBrowse});
            break;
        default:
            break;
    }
}

void SessionGuard::boundMemory(bool begins, RequestMemory::Bounds bounds) {
    memory_.reset();  // even if a request has not ended properly
    if (begins) memory_.emplace(bounds);
}

/// Closes the session with all its subscriptions. A session that has just timed out is already
/// unknown to the library, which reports its end itself.
void SessionGuard::close(const UA_NodeId& id) {
    const UA_NodeId copy = id;  // the entry that holds `id` is removed with the session
    (void)UA_Server_closeSession(server_, &copy);
}

namespace {

UA_DateTime ticks(double milliseconds) {
    return static_cast<UA_DateTime>(milliseconds * UA_DATETIME_MSEC);
}

}  // namespace

void SessionGuard::closeAbandoned() {
    const bool isShort = memoryIsShort();
    const double graceMs = isShort ? 0.0 : kSessionWithoutConnectionMs;
    const UA_DateTime since = UA_DateTime_nowMonotonic() - ticks(graceMs);
    // At most one a second, because removing what a session leaves behind takes some ms.
    const auto abandoned = std::find_if(sessions_.begin(), sessions_.end(), [&](const Session& s) {
        return s.withoutConnectionSince != 0 && s.withoutConnectionSince < since;
    });
    if (abandoned != sessions_.end()) return close(abandoned->id);
    if (!isShort || sessions_.empty()) return;
    const Session& largest = *std::max_element(
        sessions_.begin(), sessions_.end(),
        [](const Session& left, const Session& right) { return left.keptBytes < right.keptBytes; });
    if (largest.keptBytes > kBytesWithoutWeight) close(largest.id);
}

void SessionGuard::makeRoom() {
    if (sessions_.size() < config().maxSessions) return;
    const Session& unused = leastUsed();
    if (unused.withoutConnectionSince != 0) return close(unused.id);
    // If there is a session that was never activated, the library closes it by itself. Its client
    // may be about to activate it, so a session without a connection is preferred above.
    if (!std::all_of(sessions_.begin(), sessions_.end(), [](auto& s) { return s.activated; }))
        return;
    const UA_DateTime idle = UA_DateTime_nowMonotonic() - ticks(kIdleSessionMs);
    if (unused.lastRequest < idle) close(unused.id);
}

const SessionGuard::Session& SessionGuard::leastUsed() const {
    const auto since = [](const Session& s) {
        const bool connected = s.withoutConnectionSince == 0;
        return std::pair(connected, connected ? s.lastRequest : s.withoutConnectionSince);
    };
    return *std::min_element(
        sessions_.begin(), sessions_.end(),
        [&](const Session& left, const Session& right) { return since(left) < since(right); });
}

bool SessionGuard::saysTooMuch(const UA_NodeId& id) const {
    const auto bytes = [&](const char* name, int type) {
        UA_Variant value{};
        const UA_QualifiedName key = UA_QUALIFIEDNAME(0, const_cast<char*>(name));
        if (UA_Server_getSessionAttribute(server_, &id, key, &value) != UA_STATUSCODE_GOOD)
            return std::size_t{0};
        return UA_calcSizeBinary(value.data, &UA_TYPES[type], nullptr);
    };
    return bytes("sessionName", UA_TYPES_STRING) +
               bytes("clientDescription", UA_TYPES_APPLICATIONDESCRIPTION) >
           kSessionTextBytes;
}

// ---- Monitored items ---------------------------------------------------------------------------

void SessionGuard::onItem(const UA_NodeId* session, bool removed) {
    Session* const known = session != nullptr ? find(*session) : nullptr;
    if (!removed) {
        ++items_;
        if (known == nullptr) return;
        if (++known->items == kItemsWithQueue) limitQueues(*session, 1);  // of the request's next
        return;
    }
    // It is not known how much each item keeps, so an average share is subtracted.
    keptBytes_ -= keptBytes_ / items_;
    --items_;
    // A subscription may have been transferred from another session, with items not counted here.
    if (known == nullptr || known->items == 0) return;
    known->keptBytes -= known->keptBytes / known->items;
    --known->items;
}

namespace {

/// Whether the process cannot get another kReservedBytes. It first tries one piece, which touches
/// no memory, then blocks of the size in which answers are kept, which may also be available in the
/// gaps between memory that is still in use.
bool processIsShort() {
    // Volatile, because compilers remove an allocation that nobody uses.
    void* volatile piece = std::malloc(kReservedBytes);
    const bool isOne = piece != nullptr;
    std::free(piece);
    if (isOne) return false;
    struct Block {
        Block* next;
    };
    constexpr std::size_t kBlock = std::size_t{64} << 10;
    Block* blocks = nullptr;
    std::size_t bytes = 0;
    while (bytes < kReservedBytes) {
        void* const memory = std::malloc(kBlock);
        if (memory == nullptr) break;
        blocks = new (memory) Block{blocks};
        bytes += kBlock;
    }
    while (blocks != nullptr)
        std::free(std::exchange(blocks, blocks->next));
    return bytes < kReservedBytes;
}

}  // namespace

bool SessionGuard::memoryIsShort() const {
    return keptBytes_ > kKeptBytesInAll || processIsShort();
}

/// Sets the limits for the duration of one request.
/// @param newItems  the request asks for at least this many
void SessionGuard::beginItems(const UA_NodeId& session, UA_UInt32 newItems) {
    limitQueues(session, newItems);
    const Session* const known = find(session);
    const bool isFull = known != nullptr && known->keptBytes > kKeptBytesPerSession;
    RequestMemory::Bounds bounds;
    if (isFull) bounds.arrays = 0;
    boundMemory(true, bounds);
}

void SessionGuard::endItems(const UA_NodeId& session) {
    const std::size_t kept = memory_ ? memory_->kept() : 0;
    memory_.reset();
    keptBytes_ += kept;
    if (Session* const known = find(session)) known->keptBytes += kept;
    config().maxMonitoredItems = kItemsInAll;
    config().queueSizeLimits.max = kLongestQueue;
}

/// The library only has a limit for all sessions together. For the duration of one request it is
/// set to what this session may still have.
void SessionGuard::limitItems(const UA_NodeId& session) {
    if (find(session) == nullptr) return;
    if (memoryIsShort()) {
        config().maxMonitoredItems = std::max(items_, 1U);  // 0 would be no limit
        return;
    }
    if (items_ + config().maxMonitoredItemsPerCall > kItemsInAll) {
        const Session& unused = leastUsed();
        if (unused.withoutConnectionSince != 0) close(unused.id);
    }
    const Session* const known = find(session);
    const UA_UInt32 left = kItemsPerSession - std::min(known->items, kItemsPerSession);
    config().maxMonitoredItems = std::min(kItemsInAll, items_ + left);
}

/// As limitItems, for the duration of one request.
void SessionGuard::limitQueues(const UA_NodeId& session, UA_UInt32 newItems) {
    const Session* const known = find(session);
    const bool isMore = known != nullptr && known->items + newItems > kItemsWithQueue;
    config().queueSizeLimits.max = isMore ? 1 : kLongestQueue;
}
