#include "server/connections/QueueingConnections.h"

#include <algorithm>
#include <deque>
#include <memory>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

#include "server/connections/AnswerGate.h"
#include "server/connections/ArrayBudget.h"
#include "server/connections/InputGate.h"
#include "server/connections/RequestSizes.h"
#include "server/connections/SendQueue.h"
#include "server/connections/TurnTime.h"

namespace {

class QueueingConnections;

/// The receiver of a connection's events: what the library gave when it began to listen.
struct Listener {
    QueueingConnections* connections;
    void* application;
    UA_ConnectionManager_connectionCallback callback;
};

enum class State {
    open,
    lastBytes,  ///< the library has closed it; waiting bytes are still sent
    closed      ///< the TCP manager has been asked to close it
};

struct Connection {
    Listener* listener = nullptr;
    void** context = nullptr;  ///< the library's, in the TCP manager's record of the connection
    State state = State::open;
    SendQueue queue;
    AnswerGate answers;
    Greeting greeting;
    ChunkEnds ends;
    RequestSizes sizes;
    std::vector<std::uint8_t> held;  ///< requests that wait
    Ticks progress{};                ///< when the queue began or shrank last
    Ticks heldSince{};               ///< when it began, or a request was answered last
    Ticks lastBytesUntil{};
};

/// The TCP manager numbers its connections by their sockets. A socket's number is used again only
/// after the callback with the state CLOSING, which removes the entry here.
int socketOf(std::uintptr_t id) {
    return static_cast<int>(id);
}

class QueueingConnections final : public UA_ConnectionManager {
  public:
    QueueingConnections(UA_ConnectionManager& tcp, const ClientBounds& bounds,
                        ProcessorClock clock);

  private:
    using Entry = std::pair<const std::uintptr_t, Connection>;

    // ---- Called by the library ----
    static QueueingConnections& of(UA_ConnectionManager* manager) {
        return *static_cast<QueueingConnections*>(manager);
    }
    static UA_StatusCode startSource(UA_EventSource* source) noexcept;
    static void stopSource(UA_EventSource* source) noexcept;
    static UA_StatusCode freeSource(UA_EventSource* source) noexcept;
    static UA_StatusCode openOne(UA_ConnectionManager* manager, const UA_KeyValueMap* params,
                                 void* application, void* context,
                                 UA_ConnectionManager_connectionCallback callback) noexcept;
    static UA_StatusCode sendOne(UA_ConnectionManager* manager, std::uintptr_t id,
                                 const UA_KeyValueMap* params, UA_ByteString* buffer) noexcept;
    static UA_StatusCode closeOne(UA_ConnectionManager* manager, std::uintptr_t id) noexcept;
    static UA_StatusCode allocate(UA_ConnectionManager* manager, std::uintptr_t id,
                                  UA_ByteString* buffer, std::size_t size) noexcept;
    static void release(UA_ConnectionManager* manager, std::uintptr_t id,
                        UA_ByteString* buffer) noexcept;
    static void onTimer(void* connections, void* unused) noexcept;

    // ---- Called by the TCP manager ----
    static void onActivity(UA_ConnectionManager* tcp, std::uintptr_t id, void* listener,
                           void** context, UA_ConnectionState state, const UA_KeyValueMap* params,
                           UA_ByteString message) noexcept;

    Listener& listenerFor(void* application, UA_ConnectionManager_connectionCallback callback);
    Ticks now() const;
    void wakeAfter(Ticks pause);

    bool pass(Entry& entry, std::span<std::uint8_t> chunk);
    bool sendOrKeep(Entry& entry, ByteView bytes);
    bool makeRoom(Entry& entry, std::size_t wanted);
    template <class Bytes>
    Entry& largest(Bytes bytes);
    void close(Entry& entry, const char* complaint = nullptr);
    void forget(Connection& connection);
    UA_StatusCode closeByLibrary(Entry& entry);

    void receive(Entry& entry, std::span<std::uint8_t> bytes);
    bool mayAnswer(const Connection& connection, std::size_t waiting) const;
    bool accept(Entry& entry, ByteView piece);
    std::size_t deliver(Entry& entry, std::span<std::uint8_t> bytes,
                        std::chrono::milliseconds time);
    void deliverHeld(Entry& entry, std::chrono::milliseconds time);
    TurnTime beginTurn(std::chrono::milliseconds time) const;

    void round();
    bool flush(Entry& entry);
    bool answerHeld(Entry& entry, TurnTime& turn);

    UA_ConnectionManager& tcp_;
    ClientBounds bounds_;
    ProcessorClock clock_;
    std::deque<Listener> listeners_;  // the TCP manager keeps their addresses
    std::unordered_map<std::uintptr_t, Connection> connections_;
    std::size_t waiting_ = 0;     // bytes in all queues
    std::size_t unfinished_ = 0;  // bytes of all messages of which more is to come
    Ticks pause_{};
    bool wakes_ = false;  // the loop's timer is set
    Ticks wakesAt_{};
    UA_UInt64 timer_ = 0;
    std::size_t rounds_ = 0;
};

// ---- Life ---------------------------------------------------------------------------------------

QueueingConnections::QueueingConnections(UA_ConnectionManager& tcp, const ClientBounds& bounds,
                                         ProcessorClock clock)
    : UA_ConnectionManager{}, tcp_(tcp), bounds_(bounds), clock_(clock) {
    eventSource.eventSourceType = UA_EVENTSOURCETYPE_CONNECTIONMANAGER;
    eventSource.name = UA_STRING_STATIC("queueing tcp connection manager");
    eventSource.start = startSource;
    eventSource.stop = stopSource;
    eventSource.free = freeSource;
    protocol = std::exchange(tcp.protocol, UA_STRING_STATIC("tcp behind a queue"));
    openConnection = openOne;
    sendWithConnection = sendOne;
    closeConnection = closeOne;
    allocNetworkBuffer = allocate;
    freeNetworkBuffer = release;
}

UA_StatusCode QueueingConnections::startSource(UA_EventSource* source) noexcept {
    source->state = UA_EVENTSOURCESTATE_STARTED;
    return UA_STATUSCODE_GOOD;
}

/// The sockets are the TCP manager's, which the loop stops too.
void QueueingConnections::stopSource(UA_EventSource* source) noexcept {
    source->state = UA_EVENTSOURCESTATE_STOPPED;
}

UA_StatusCode QueueingConnections::freeSource(UA_EventSource* source) noexcept {
    QueueingConnections& self = of(reinterpret_cast<UA_ConnectionManager*>(source));
    if (self.wakes_) source->eventLoop->removeTimer(source->eventLoop, self.timer_);
    delete &self;
    return UA_STATUSCODE_GOOD;
}

// ---- Opening and closing ------------------------------------------------------------------------

Listener& QueueingConnections::listenerFor(void* application,
                                           UA_ConnectionManager_connectionCallback callback) {
    for (Listener& listener : listeners_) {
        if (listener.application == application && listener.callback == callback) return listener;
    }
    return listeners_.emplace_back(Listener{this, application, callback});
}

UA_StatusCode QueueingConnections::openOne(
    UA_ConnectionManager* manager, const UA_KeyValueMap* params, void* application, void* context,
    UA_ConnectionManager_connectionCallback callback) noexcept {
    QueueingConnections& self = of(manager);
    try {
        Listener& listener = self.listenerFor(application, callback);
        return self.tcp_.openConnection(&self.tcp_, params, &listener, context, onActivity);
    } catch (const std::bad_alloc&) {
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
}

UA_StatusCode QueueingConnections::closeOne(UA_ConnectionManager* manager,
                                            std::uintptr_t id) noexcept {
    QueueingConnections& self = of(manager);
    const auto found = self.connections_.find(id);
    if (found == self.connections_.end()) return self.tcp_.closeConnection(&self.tcp_, id);
    return self.closeByLibrary(*found);
}

UA_StatusCode QueueingConnections::closeByLibrary(Entry& entry) {
    Connection& connection = entry.second;
    if (connection.state == State::open && !connection.queue.empty()) {
        connection.state = State::lastBytes;
        connection.held = {};
        connection.lastBytesUntil = now() + bounds_.lastBytes;
        wakeAfter(bounds_.shortestPause);
        return UA_STATUSCODE_GOOD;
    }
    if (connection.state == State::open) close(entry);
    return UA_STATUSCODE_GOOD;
}

/// The TCP manager notifies the library in the loop's next round.
/// @param complaint  what the client did wrong, for the library's log
void QueueingConnections::close(Entry& entry, const char* complaint) {
    if (entry.second.state == State::closed) return;
    if (complaint != nullptr) {
        UA_LOG_WARNING(eventSource.eventLoop->logger, UA_LOGCATEGORY_NETWORK,
                       "TCP %d\t| Closed, because its client %s", socketOf(entry.first), complaint);
    }
    entry.second.state = State::closed;
    forget(entry.second);
    (void)tcp_.closeConnection(&tcp_, entry.first);  // fails only if it is being closed already
}

void QueueingConnections::forget(Connection& connection) {
    waiting_ -= connection.queue.size();
    connection.queue.clear();
    connection.held = {};
    unfinished_ -= connection.sizes.unfinished();
    connection.sizes = {};
}

void QueueingConnections::onActivity(UA_ConnectionManager* tcp, std::uintptr_t id, void* listener,
                                     void** context, UA_ConnectionState state,
                                     const UA_KeyValueMap* params, UA_ByteString message) noexcept {
    Listener& to = *static_cast<Listener*>(listener);
    QueueingConnections& self = *to.connections;
    const auto pass = [&] {
        to.callback(&self, id, to.application, context, state, params, message);
    };
    if (state != UA_CONNECTIONSTATE_OPENING && state != UA_CONNECTIONSTATE_ESTABLISHED &&
        state != UA_CONNECTIONSTATE_REOPENING) {
        const auto found = self.connections_.find(id);
        if (found != self.connections_.end()) {
            self.forget(found->second);
            self.connections_.erase(found);
        }
        return pass();
    }
    try {
        Entry& entry = *self.connections_.try_emplace(id).first;
        entry.second.listener = &to;
        entry.second.context = context;
        if (message.length == 0) return pass();
        self.receive(entry, {message.data, message.length});
        // If there was not enough memory to set the timer, the next activity sets it.
        if (self.waiting_ > 0 && !self.wakes_) self.wakeAfter(self.bounds_.shortestPause);
    } catch (const std::bad_alloc&) {
        (void)tcp->closeConnection(tcp, id);
        if (message.length == 0) pass();  // the library expects this before the connection's end
    }
}

// ---- Sending ------------------------------------------------------------------------------------

UA_StatusCode QueueingConnections::allocate(UA_ConnectionManager* manager, std::uintptr_t id,
                                            UA_ByteString* buffer, std::size_t size) noexcept {
    UA_ConnectionManager& tcp = of(manager).tcp_;
    return tcp.allocNetworkBuffer(&tcp, id, buffer, size);
}

void QueueingConnections::release(UA_ConnectionManager* manager, std::uintptr_t id,
                                  UA_ByteString* buffer) noexcept {
    UA_ConnectionManager& tcp = of(manager).tcp_;
    tcp.freeNetworkBuffer(&tcp, id, buffer);
}

UA_StatusCode QueueingConnections::sendOne(UA_ConnectionManager* manager, std::uintptr_t id,
                                           const UA_KeyValueMap* /*params*/,
                                           UA_ByteString* buffer) noexcept {
    QueueingConnections& self = of(manager);
    const auto found = self.connections_.find(id);
    bool sent = false;
    if (found != self.connections_.end() && found->second.state == State::open) {
        try {
            sent = self.pass(*found, {buffer->data, buffer->length});
        } catch (const std::bad_alloc&) {
            sent = false;
        }
        if (!sent) self.close(*found);
    }
    self.tcp_.freeNetworkBuffer(&self.tcp_, id, buffer);
    return sent ? UA_STATUSCODE_GOOD : UA_STATUSCODE_BADCONNECTIONCLOSED;
}

/// @return false when the connection is to be closed
bool QueueingConnections::pass(Entry& entry, std::span<std::uint8_t> chunk) {
    AnswerGate& answers = entry.second.answers;
    const AnswerGate::Output output = answers.pass(chunk);
    const bool good = sendOrKeep(entry, output.held) && sendOrKeep(entry, output.chunk);
    answers.release();
    return good;
}

bool QueueingConnections::sendOrKeep(Entry& entry, ByteView bytes) {
    SendQueue& queue = entry.second.queue;
    if (queue.empty()) {
        const std::optional<std::size_t> sent = sendWithoutWaiting(socketOf(entry.first), bytes);
        if (!sent) return false;
        bytes = bytes.subspan(*sent);
    }
    if (bytes.empty()) return true;
    if (!makeRoom(entry, bytes.size())) return false;
    if (queue.empty()) entry.second.progress = entry.second.heldSince = now();
    queue.append(bytes);
    waiting_ += bytes.size();
    wakeAfter(bounds_.shortestPause);
    return true;
}

/// Closes connections until `wanted` more bytes may wait.
/// @return false when it is this connection that has too many
bool QueueingConnections::makeRoom(Entry& entry, std::size_t wanted) {
    const std::size_t own = entry.second.queue.size() + wanted;
    if (own > bounds_.waitingPerConnection) return false;
    while (waiting_ + wanted > bounds_.waitingInAll) {
        Entry& most = largest([](const Connection& each) { return each.queue.size(); });
        if (most.second.queue.size() <= own) return false;
        close(most, "has the most bytes waiting for it of all");
    }
    return true;
}

/// The connection with the most bytes. There must be at least one connection.
template <class Bytes>
QueueingConnections::Entry& QueueingConnections::largest(Bytes bytes) {
    return *std::max_element(
        connections_.begin(), connections_.end(),
        [&](const Entry& a, const Entry& b) { return bytes(a.second) < bytes(b.second); });
}

// ---- Receiving ----------------------------------------------------------------------------------

void QueueingConnections::receive(Entry& entry, std::span<std::uint8_t> bytes) {
    Connection& connection = entry.second;
    if (connection.state != State::open) return;
    if (const auto limits = connection.greeting.read(bytes)) connection.answers.setLimits(*limits);
    if (connection.held.empty()) {
        bytes = bytes.subspan(deliver(entry, bytes, bounds_.turn));
        if (bytes.empty() || connection.state != State::open) return;
    }
    connection.held.insert(connection.held.end(), bytes.begin(), bytes.end());
    if (connection.held.size() > bounds_.heldRequests) deliverHeld(entry, bounds_.longestTurn);
    if (connection.held.size() > bounds_.heldRequestsAtMost) {
        close(entry, "sends requests faster than they can be answered");
    } else {
        wakeAfter(connection.queue.empty() ? Ticks{} : Ticks{bounds_.shortestPause});
    }
}

/// Whether a request may be answered now.
/// @param waiting  bytes of requests that have arrived
bool QueueingConnections::mayAnswer(const Connection& connection, std::size_t waiting) const {
    if (connection.queue.empty() || waiting > bounds_.heldRequests) return true;
    return connection.queue.size() < bounds_.waitingForMore &&
           now() - connection.heldSince >= bounds_.heldAtMost;
}

/// @param piece  reaches to the end of a chunk at most
/// @return false when the connection has been closed for it
bool QueueingConnections::accept(Entry& entry, ByteView piece) {
    RequestSizes& sizes = entry.second.sizes;
    const std::size_t before = sizes.unfinished();
    const bool accepted = sizes.accept(piece);
    unfinished_ += sizes.unfinished() - before;
    if (!accepted) close(entry, "asked for more in one request than its service allows");
    while (unfinished_ > bounds_.unfinishedInAll) {
        close(largest([](const Connection& each) { return each.sizes.unfinished(); }),
              "has sent the most bytes of a message that does not end");
    }
    return entry.second.state == State::open;
}

TurnTime QueueingConnections::beginTurn(std::chrono::milliseconds time) const {
    return {*eventSource.eventLoop, time, bounds_.turnByWallClock, clock_};
}

/// Passes chunks to the library one by one, as long as they may be answered and, after the first,
/// there is time.
/// @return how many bytes were passed on
std::size_t QueueingConnections::deliver(Entry& entry, std::span<std::uint8_t> bytes,
                                         std::chrono::milliseconds time) {
    Connection& connection = entry.second;
    const Listener& to = *connection.listener;
    std::optional<TurnTime> turn;
    std::size_t done = 0;
    while (mayAnswer(connection, bytes.size() - done)) {
        const std::span<std::uint8_t> rest = bytes.subspan(done);
        const std::size_t length = connection.ends.nextEnd(rest);
        if (!accept(entry, rest.first(length))) break;
        const ArrayBudget budget(bounds_.arraysPerRequest);
        to.callback(this, entry.first, to.application, connection.context,
                    UA_CONNECTIONSTATE_ESTABLISHED, &UA_KEYVALUEMAP_NULL, {length, rest.data()});
        done += length;
        if (done == bytes.size() || connection.state != State::open) break;
        const bool isOver = turn && turn->isOver();
        if (!turn) turn = beginTurn(time);
        connection.heldSince = turn->lookedAt();
        if (isOver) break;
    }
    return done;
}

void QueueingConnections::deliverHeld(Entry& entry, std::chrono::milliseconds time) {
    Connection& connection = entry.second;
    // The library may close the connection meanwhile, which frees the held bytes.
    std::vector<std::uint8_t> bytes = std::exchange(connection.held, {});
    const std::size_t done = deliver(entry, bytes, time);
    if (connection.state != State::open || done == bytes.size()) return;
    bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(done));
    connection.held = std::move(bytes);
}

// ---- Rounds of the loop, while something waits --------------------------------------------------

Ticks QueueingConnections::now() const {
    UA_EventLoop* const loop = eventSource.eventLoop;
    return Ticks{loop->dateTime_nowMonotonic(loop)};
}

/// Sets the timer, or moves it forward.
void QueueingConnections::wakeAfter(Ticks pause) {
    const Ticks at = now() + pause;
    if (wakes_ && wakesAt_ <= at) return;
    UA_EventLoop* const loop = eventSource.eventLoop;
    if (wakes_) loop->removeTimer(loop, timer_);
    const double ms = std::chrono::duration<double, std::milli>(pause).count();
    wakes_ = loop->addTimer(loop, onTimer, this, nullptr, ms, nullptr, UA_TIMERPOLICY_ONCE,
                            &timer_) == UA_STATUSCODE_GOOD;
    wakesAt_ = at;
}

void QueueingConnections::onTimer(void* connections, void* /*unused*/) noexcept {
    QueueingConnections& self = *static_cast<QueueingConnections*>(connections);
    self.wakes_ = false;
    try {
        self.round();
    } catch (const std::bad_alloc&) {
        self.wakeAfter(self.bounds_.longestPause);
    }
}

/// Sends what the sockets take, then answers waiting requests. Each round begins with a different
/// connection, so that all get their share of its time.
void QueueingConnections::round() {
    std::vector<Entry*> waiting;
    for (Entry& entry : connections_) {
        if (!entry.second.queue.empty() || !entry.second.held.empty()) waiting.push_back(&entry);
    }
    if (waiting.empty()) return;
    const auto first = static_cast<std::ptrdiff_t>(++rounds_ % waiting.size());
    std::rotate(waiting.begin(), waiting.begin() + first, waiting.end());

    bool taken = false;
    for (Entry* entry : waiting)
        taken = flush(*entry) || taken;
    TurnTime turn = beginTurn(bounds_.round);
    bool more = false;
    for (Entry* entry : waiting)
        more = answerHeld(*entry, turn) || more;

    pause_ = std::clamp(pause_ * 2, Ticks{bounds_.shortestPause}, Ticks{bounds_.longestPause});
    if (taken) pause_ = bounds_.shortestPause;
    if (more) {
        wakeAfter(Ticks{});
    } else if (waiting_ > 0) {
        wakeAfter(pause_);
    }
}

/// @return whether the socket took bytes
bool QueueingConnections::flush(Entry& entry) {
    Connection& connection = entry.second;
    if (connection.queue.empty()) return false;
    const std::optional<std::size_t> sent =
        connection.queue.sendTo(socketOf(entry.first), bounds_.copiedPerRound);
    if (!sent) {
        close(entry);
        return false;
    }
    waiting_ -= *sent;
    if (*sent > 0) connection.progress = now();
    const bool last = connection.state == State::lastBytes;
    if (last && (connection.queue.empty() || now() >= connection.lastBytesUntil)) close(entry);
    if (now() - connection.progress >= bounds_.withoutProgress) {
        close(entry, "takes none of the bytes that wait for it");
    }
    return *sent > 0;
}

/// @return whether requests are left that may be answered
bool QueueingConnections::answerHeld(Entry& entry, TurnTime& turn) {
    Connection& connection = entry.second;
    const auto may = [&] {
        return !connection.held.empty() && mayAnswer(connection, connection.held.size());
    };
    if (!may()) return false;
    if (!turn.isOver()) deliverHeld(entry, bounds_.turn);
    return may();
}

}  // namespace

bool queueAnswers(UA_ConnectionManager& tcp, const ClientBounds& bounds,
                  ProcessorClock clock) noexcept {
    std::unique_ptr<QueueingConnections> connections(new (std::nothrow)
                                                         QueueingConnections(tcp, bounds, clock));
    if (!connections) return false;
    UA_EventLoop& loop = *tcp.eventSource.eventLoop;
    // The loop frees it. Registering fails only for something that is already registered.
    return loop.registerEventSource(&loop, &connections.release()->eventSource) ==
           UA_STATUSCODE_GOOD;
}
