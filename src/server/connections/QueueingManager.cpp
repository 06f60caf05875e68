#include "server/connections/QueueingManager.h"

#include <new>

// ---- Life ---------------------------------------------------------------------------------------

QueueingManager::QueueingManager(UA_ConnectionManager& tcp, const ClientBounds& bounds,
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

UA_StatusCode QueueingManager::startSource(UA_EventSource* source) noexcept {
    source->state = UA_EVENTSOURCESTATE_STARTED;
    return UA_STATUSCODE_GOOD;
}

/// The sockets are the TCP manager's, which the loop stops too.
void QueueingManager::stopSource(UA_EventSource* source) noexcept {
    source->state = UA_EVENTSOURCESTATE_STOPPED;
}

UA_StatusCode QueueingManager::freeSource(UA_EventSource* source) noexcept {
    QueueingManager& self = of(reinterpret_cast<UA_ConnectionManager*>(source));
    if (self.wakes_) source->eventLoop->removeTimer(source->eventLoop, self.timer_);
    delete &self;
    return UA_STATUSCODE_GOOD;
}

// ---- Opening and closing ------------------------------------------------------------------------

QueueingManager::Listener& QueueingManager::listenerFor(
    void* application, UA_ConnectionManager_connectionCallback callback) {
    for (Listener& listener : listeners_) {
        if (listener.application == application && listener.callback == callback) return listener;
    }
    return listeners_.emplace_back(Listener{this, application, callback});
}

UA_StatusCode QueueingManager::openOne(UA_ConnectionManager* manager, const UA_KeyValueMap* params,
                                       void* application, void* context,
                                       UA_ConnectionManager_connectionCallback callback) noexcept {
    QueueingManager& self = of(manager);
    try {
        Listener& listener = self.listenerFor(application, callback);
        return self.tcp_.openConnection(&self.tcp_, params, &listener, context, onActivity);
    } catch (const std::bad_alloc&) {
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
}

UA_StatusCode QueueingManager::closeOne(UA_ConnectionManager* manager, std::uintptr_t id) noexcept {
    QueueingManager& self = of(manager);
    const auto found = self.connections_.find(id);
    if (found == self.connections_.end()) return self.tcp_.closeConnection(&self.tcp_, id);
    return self.closeByLibrary(*found);
}

UA_StatusCode QueueingManager::closeByLibrary(Entry& entry) {
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
void QueueingManager::close(Entry& entry, const char* complaint) {
    if (entry.second.state == State::closed) return;
    if (complaint != nullptr) {
        UA_LOG_WARNING(eventSource.eventLoop->logger, UA_LOGCATEGORY_NETWORK,
                       "TCP %d\t| Closed, because its client %s", socketOf(entry.first), complaint);
    }
    entry.second.state = State::closed;
    forget(entry.second);
    (void)tcp_.closeConnection(&tcp_, entry.first);  // fails only if it is being closed already
}

void QueueingManager::forget(Connection& connection) {
    waiting_ -= connection.queue.size();
    connection.queue.clear();
    connection.held = {};
    unfinished_ -= connection.sizes.unfinished();
    connection.sizes = {};
}

void QueueingManager::onActivity(UA_ConnectionManager* tcp, std::uintptr_t id, void* listener,
                                 void** context, UA_ConnectionState state,
                                 const UA_KeyValueMap* params, UA_ByteString message) noexcept {
    Listener& to = *static_cast<Listener*>(listener);
    QueueingManager& self = *to.manager;
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

// ---- Rounds of the loop, while something waits --------------------------------------------------

Ticks QueueingManager::now() const {
    UA_EventLoop* const loop = eventSource.eventLoop;
    return Ticks{loop->dateTime_nowMonotonic(loop)};
}

/// Sets the timer, or moves it forward.
void QueueingManager::wakeAfter(Ticks pause) {
    const Ticks at = now() + pause;
    if (wakes_ && wakesAt_ <= at) return;
    UA_EventLoop* const loop = eventSource.eventLoop;
    if (wakes_) loop->removeTimer(loop, timer_);
    const double ms = std::chrono::duration<double, std::milli>(pause).count();
    wakes_ = loop->addTimer(loop, onTimer, this, nullptr, ms, nullptr, UA_TIMERPOLICY_ONCE,
                            &timer_) == UA_STATUSCODE_GOOD;
    wakesAt_ = at;
}

void QueueingManager::onTimer(void* manager, void* /*unused*/) noexcept {
    QueueingManager& self = *static_cast<QueueingManager*>(manager);
    self.wakes_ = false;
    try {
        self.round();
    } catch (const std::bad_alloc&) {
        self.wakeAfter(self.bounds_.longestPause);
    }
}

/// Sends what the sockets take, then answers waiting requests. Each round begins with a different
/// connection, so that all get their share of its time.
void QueueingManager::round() {
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
