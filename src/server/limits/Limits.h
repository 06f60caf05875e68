#pragma once

#include <open62541/server.h>

#include <cstddef>

// What the server grants its clients, so that no client can take the machine's memory, keep the
// others waiting or lock them out. docs/limits.md shows the numbers to users.

/// Nodes of one history read. With 1000 values of each, which is the most that one node has in an
/// answer, it is 1.7 MB long, less than kMessageBytes.
inline constexpr UA_UInt32 kNodesPerHistoryRead = 64;

/// Monitored items of all sessions. Twenty clients of 10 000 have room.
inline constexpr UA_UInt32 kItemsInAll = 250'000;

/// Monitored items of one session in all its subscriptions: removing them all, which happens in
/// one go when the session ends, takes about 20 ms.
inline constexpr UA_UInt32 kItemsPerSession = 20'000;

/// Values of one monitored item that wait for a publish request: kLongestQueue, but one for items
/// that a session with more than kItemsWithQueue creates or modifies. Removing ten values takes
/// longer than removing the item, and happens in the same go.
inline constexpr UA_UInt32 kLongestQueue = 10;
inline constexpr UA_UInt32 kItemsWithQueue = 5'000;

/// Memory that monitored items leave to the others: what connections, sessions and answers of new
/// clients need when a client has taken all that the process may have.
inline constexpr std::size_t kReservedBytes = std::size_t{16} << 20;

/// What the library may keep of the requests that created or modified monitored items: ids, texts
/// and filters, each as long as its client likes. Of one session, which is twice what 20 000 items
/// of an ordinary client take, and of all.
inline constexpr std::size_t kKeptBytesPerSession = std::size_t{32} << 20;
inline constexpr std::size_t kKeptBytesInAll = std::size_t{320} << 20;

/// A session whose items keep no more is not closed for want of memory: that of 1000 items or so.
inline constexpr std::size_t kBytesWithoutWeight = std::size_t{1} << 20;

/// Arrays in which one browse collects references, each grown one with all its sizes: some 30 000
/// references. The library collects those of a node before it finds that there is no continuation
/// point left for the rest, of which a session has 32.
inline constexpr std::size_t kBytesPerBrowse = std::size_t{12} << 20;

/// Items that one item may trigger. The library looks through all of them for each that is added.
inline constexpr std::size_t kLinksPerItem = 64;

/// Bytes of the texts by which a client describes itself and its session, together.
inline constexpr std::size_t kSessionTextBytes = 4'096;

/// A session without a connection is closed, with its subscriptions, after this time: until then
/// a client that has lost its connection can go on with it.
inline constexpr double kSessionWithoutConnectionMs = 60'000.0;

/// A session may be closed for the sake of a new one when all are taken and it has sent no request
/// for so long.
inline constexpr double kIdleSessionMs = 4'000.0;

/// A subscription whose client is gone lives no longer than this or three publishing intervals,
/// whichever is longer.
inline constexpr double kSubscriptionLifetimeMs = 600'000.0;

/// Descriptors that the server itself needs at most: streams, event loop, listening sockets, log,
/// trend archive. Connections get the others.
inline constexpr std::size_t kOwnDescriptors = 32;

/// Descriptors with which every connection that the limits allow can be served.
std::size_t wantedDescriptors();

/// Writes all limits into the library's configuration, except the limits of intervals, which are
/// UAServer's. After each of the library's own configurations, which reset them.
/// @param descriptors  how many the process may have open; fewer than wanted mean fewer connections
void applyLimits(UA_ServerConfig& config, std::size_t descriptors);
