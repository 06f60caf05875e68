#pragma once

#include <open62541/server.h>

#include <cstddef>
#include <optional>
#include <vector>

#include "server/limits/RequestMemory.h"

/// Ensures that unused sessions do not keep clients out, and that no session takes more than its
/// share. Its knowledge of sessions comes from the library's notifications. Server thread.
///
/// - When all sessions are taken and a client asks for one: the session that has been without a
///   connection for the longest time is closed, or else the one that has sent no request for the
///   longest time, kIdleSessionMs at least.
/// - A session without a connection is closed after kSessionWithoutConnectionMs, or at once when
///   the process cannot get kReservedBytes more; no monitored items are granted then, and if all
///   sessions have a connection, the one whose items keep the most is closed, one a second.
/// - A session may have kItemsPerSession monitored items; when it has more than kItemsWithQueue,
///   those that it creates or modifies keep one value waiting. When the items of all sessions are
///   nearly taken and a client asks for more, a session without a connection is closed.
/// - The library keeps at most kKeptBytesPerSession for a session's monitored items, and
///   kKeptBytesInAll for those of all sessions; beyond that requests fail as if memory had run out.
///   An item may trigger kLinksPerItem others.
/// - A session whose client describes it with more than kSessionTextBytes is closed.
/// - Subscriptions outlive their client by kSubscriptionLifetimeMs at most.
///
/// One object in the process.
class SessionGuard {
  public:
    /// Installs itself in the server's configuration. Construct it before the server's loop runs.
    /// @param server  not owned, outlives this object
    explicit SessionGuard(UA_Server* server);
    /// Uninstalls itself.
    ~SessionGuard();
    SessionGuard(const SessionGuard&) = delete;
    SessionGuard& operator=(const SessionGuard&) = delete;

  private:
    struct Session {
        UA_NodeId id;  // a Guid, so there is nothing to free
        UA_DateTime lastRequest;
        UA_DateTime withoutConnectionSince = 0;  // 0: it has one
        bool activated = false;
        UA_UInt32 items = 0;
        std::size_t keptBytes = 0;  // by its items
    };

    // Times are the library's monotonic clock, 100 ns ticks.
    void onSession(UA_ApplicationNotificationType type, const UA_NodeId& id);
    void onService(bool begins, const UA_NodeId& session, const UA_NodeId& service);
    void onItem(const UA_NodeId* session, bool removed);
    void closeAbandoned();
    void makeRoom();
    void close(const UA_NodeId& id);
    void boundMemory(bool begins, RequestMemory::Bounds bounds);
    void beginItems(const UA_NodeId& session, UA_UInt32 newItems);
    void endItems(const UA_NodeId& session);
    void limitItems(const UA_NodeId& session);
    void limitQueues(const UA_NodeId& session, UA_UInt32 newItems);
    [[nodiscard]] bool memoryIsShort() const;
    [[nodiscard]] bool saysTooMuch(const UA_NodeId& id) const;
    /// Prefers sessions without a connection. There must be at least one session.
    [[nodiscard]] const Session& leastUsed() const;
    [[nodiscard]] Session* find(const UA_NodeId& id);
    [[nodiscard]] UA_ServerConfig& config() const;

    UA_Server* server_;
    UA_UInt64 timer_ = 0;
    std::vector<Session> sessions_;        // oldest first
    UA_UInt32 items_ = 0;                  // of all sessions, and of subscriptions without one
    std::size_t keptBytes_ = 0;            // by these items
    std::optional<RequestMemory> memory_;  // of the current request
};
