#pragma once

#include <open62541/plugin/eventloop.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "server/connections/AnswerGate.h"
#include "server/connections/ClientBounds.h"
#include "server/connections/InputGate.h"
#include "server/connections/RequestSizes.h"
#include "server/connections/SendQueue.h"
#include "server/connections/TurnTime.h"

/// The manager that `queueAnswers` puts in front of the TCP manager. The library and the TCP
/// manager call its static functions. Output to clients and input from them are in separate source
/// files.
class QueueingManager final : public UA_ConnectionManager {
  public:
    QueueingManager(UA_ConnectionManager& tcp, const ClientBounds& bounds, ProcessorClock clock);

  private:
    /// The receiver of a connection's events, which the library passed when it began to listen.
    struct Listener {
        QueueingManager* manager;
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

    using Entry = std::pair<const std::uintptr_t, Connection>;

    /// The TCP manager numbers its connections by their sockets. A socket's number is reused only
    /// after the callback with the state CLOSING, which removes the entry.
    static int socketOf(std::uintptr_t id) { return static_cast<int>(id); }

    // ---- Called by the library ----
    static QueueingManager& of(UA_ConnectionManager* manager) {
        return *static_cast<QueueingManager*>(manager);
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
    static void onTimer(void* manager, void* unused) noexcept;

    // ---- Called by the TCP manager ----
    static void onActivity(UA_ConnectionManager* tcp, std::uintptr_t id, void* listener,
                           void** context, UA_ConnectionState state, const UA_KeyValueMap* params,
                           UA_ByteString message) noexcept;

    // ---- QueueingManager.cpp ----
    Listener& listenerFor(void* application, UA_ConnectionManager_connectionCallback callback);
    UA_StatusCode closeByLibrary(Entry& entry);
    void close(Entry& entry, const char* complaint = nullptr);
    void forget(Connection& connection);
    template <class Bytes>
    Entry& largest(Bytes bytes);
    Ticks now() const;
    void wakeAfter(Ticks pause);
    void round();

    // ---- QueueingManagerOutput.cpp ----
    bool pass(Entry& entry, std::span<std::uint8_t> chunk);
    bool sendOrKeep(Entry& entry, ByteView bytes);
    bool makeRoom(Entry& entry, std::size_t wanted);
    bool flush(Entry& entry);

    // ---- QueueingManagerInput.cpp ----
    void receive(Entry& entry, std::span<std::uint8_t> bytes);
    bool mayAnswer(const Connection& connection, std::size_t waiting) const;
    bool accept(Entry& entry, ByteView piece);
    std::size_t deliver(Entry& entry, std::span<std::uint8_t> bytes,
                        std::chrono::milliseconds time);
    void deliverHeld(Entry& entry, std::chrono::milliseconds time);
    bool answerHeld(Entry& entry, TurnTime& turn);
    TurnTime beginTurn(std::chrono::milliseconds time) const;

    UA_ConnectionManager& tcp_;
    ClientBounds bounds_;
    ProcessorClock clock_;
    std::deque<Listener> listeners_;  // the TCP manager keeps their addresses
    std::unordered_map<std::uintptr_t, Connection> connections_;
    std::size_t waiting_ = 0;     // bytes in all queues
    std::size_t unfinished_ = 0;  // bytes of all unfinished messages
    Ticks pause_{};
    bool wakes_ = false;  // the loop's timer is set
    Ticks wakesAt_{};
    UA_UInt64 timer_ = 0;
    std::size_t rounds_ = 0;
};

/// The connection with the most bytes. There must be at least one connection.
template <class Bytes>
QueueingManager::Entry& QueueingManager::largest(Bytes bytes) {
    return *std::max_element(
        connections_.begin(), connections_.end(),
        [&](const Entry& a, const Entry& b) { return bytes(a.second) < bytes(b.second); });
}
