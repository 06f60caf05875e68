#include "server/connections/QueueingManager.h"

#include <optional>

#include "server/connections/ArrayBudget.h"

// ---- From a client ------------------------------------------------------------------------------

void QueueingManager::receive(Entry& entry, std::span<std::uint8_t> bytes) {
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
bool QueueingManager::mayAnswer(const Connection& connection, std::size_t waiting) const {
    if (connection.queue.empty() || waiting > bounds_.heldRequests) return true;
    return connection.queue.size() < bounds_.waitingForMore &&
           now() - connection.heldSince >= bounds_.heldAtMost;
}

/// @param piece  reaches to the end of a chunk at most
/// @return false when the connection has been closed for it
bool QueueingManager::accept(Entry& entry, ByteView piece) {
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

TurnTime QueueingManager::beginTurn(std::chrono::milliseconds time) const {
    return {*eventSource.eventLoop, time, bounds_.turnByWallClock, clock_};
}

/// Passes chunks to the library one by one, as long as they may be answered and, after the first,
/// there is time.
/// @return how many bytes were passed on
std::size_t QueueingManager::deliver(Entry& entry, std::span<std::uint8_t> bytes,
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

void QueueingManager::deliverHeld(Entry& entry, std::chrono::milliseconds time) {
    Connection& connection = entry.second;
    // The library may close the connection meanwhile, which frees the held bytes.
    std::vector<std::uint8_t> bytes = std::exchange(connection.held, {});
    const std::size_t done = deliver(entry, bytes, time);
    if (connection.state != State::open || done == bytes.size()) return;
    bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(done));
    connection.held = std::move(bytes);
}

/// @return whether requests are left that may be answered
bool QueueingManager::answerHeld(Entry& entry, TurnTime& turn) {
    Connection& connection = entry.second;
    const auto may = [&] {
        return !connection.held.empty() && mayAnswer(connection, connection.held.size());
    };
    if (!may()) return false;
    if (!turn.isOver()) deliverHeld(entry, bounds_.turn);
    return may();
}
