#include "server/connections/QueueingManager.h"

#include <new>
#include <optional>

// ---- From the library ---------------------------------------------------------------------------

UA_StatusCode QueueingManager::allocate(UA_ConnectionManager* manager, std::uintptr_t id,
                                        UA_ByteString* buffer, std::size_t size) noexcept {
    UA_ConnectionManager& tcp = of(manager).tcp_;
    return tcp.allocNetworkBuffer(&tcp, id, buffer, size);
}

void QueueingManager::release(UA_ConnectionManager* manager, std::uintptr_t id,
                              UA_ByteString* buffer) noexcept {
    UA_ConnectionManager& tcp = of(manager).tcp_;
    tcp.freeNetworkBuffer(&tcp, id, buffer);
}

UA_StatusCode QueueingManager::sendOne(UA_ConnectionManager* manager, std::uintptr_t id,
                                       const UA_KeyValueMap* /*params*/,
                                       UA_ByteString* buffer) noexcept {
    QueueingManager& self = of(manager);
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
bool QueueingManager::pass(Entry& entry, std::span<std::uint8_t> chunk) {
    AnswerGate& answers = entry.second.answers;
    const AnswerGate::Output output = answers.pass(chunk);
    const bool good = sendOrKeep(entry, output.held) && sendOrKeep(entry, output.chunk);
    answers.release();
    return good;
}

bool QueueingManager::sendOrKeep(Entry& entry, ByteView bytes) {
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
bool QueueingManager::makeRoom(Entry& entry, std::size_t wanted) {
    const std::size_t own = entry.second.queue.size() + wanted;
    if (own > bounds_.waitingPerConnection) return false;
    while (waiting_ + wanted > bounds_.waitingInAll) {
        Entry& most = largest([](const Connection& each) { return each.queue.size(); });
        if (most.second.queue.size() <= own) return false;
        close(most, "has the most bytes waiting for it of all");
    }
    return true;
}

// ---- To the socket, in a round ------------------------------------------------------------------

/// @return whether the socket took bytes
bool QueueingManager::flush(Entry& entry) {
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
