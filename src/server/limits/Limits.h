#pragma once

#include <open62541/server.h>

#include <cstddef>

// Limits on what the server grants its clients, so that no client can exhaust the machine's memory,
// keep the others waiting or lock them out. docs/limits.md shows the numbers to users.

/// Nodes of one history read. With 1000 values of each, the most for one node, the answer is 1.7 MB
/// long, less than kMessageBytes.
inline constexpr UA_UInt32 kNodesPerHistoryRead = 64;

/// Monitored items of all sessions. Enough for twenty clients with 10 000 each.
inline constexpr UA_UInt32 kItemsInAll = 250'000;

/// Monitored items of one session in all its subscriptions. When the session ends, all of them are
/// removed in one go, which takes about 20 ms.
inline constexpr UA_UInt32 kItemsPerSession = 20'000;

/// Values of one monitored item that wait for a publish request: kLongestQueue, but only one for
/// items that a session with more than kItemsWithQueue items creates or modifies. Removing ten
/// values takes longer than removing the item itself, and happens in the same go.
inline constexpr UA_UInt32 kLongestQueue = 10;
inline constexpr UA_UInt32 kItemsWithQueue = 5'000;

/// Memory that monitored items must leave free: what new clients need for connections, sessions and
/// answers when one client has taken all that the process may have.
inline constexpr std::size_t kReservedBytes = std::size_t{16} << 20;

/// Bytes that the library may keep of the requests that created or modified monitored items: ids,
/// texts and filters, each as long as its client likes. For one session, twice what 20 000 items of
/// an ordinary client take; and for all sessions.
inline constexpr std::size_t kKeptBytesPerSession = std::size_t{32} << 20;
inline constexpr std::size_t kKeptBytesInAll = std::size_t{320} << 20;

/// A session whose items keep no more than this is not closed when memory is short: about 1000
/// items.
inline constexpr std::size_t kBytesWithoutWeight = std::size_t{1} << 20;

/// Bytes of the arrays in which one browse collects references, where an array that grows counts
/// with each of its sizes: about 30 000 references. The library collects a node's references before
/// it finds that none of the session's 32 continuation points is free for the rest.
inline constexpr std::size_t kBytesPerBrowse = std::size_t{12} << 20;

/// Items that one item may trigger. For each new one the library searches all existing ones.
inline constexpr std::size_t kLinksPerItem = 64;

/// Bytes of the texts by which a client describes itself and its session, together.
inline constexpr std::size_t kSessionTextBytes = 4'096;

/// A session without a connection is closed, with its subscriptions, after this time; until then a
/// client that has lost its connection can resume it.
inline constexpr double kSessionWithoutConnectionMs = 60'000.0;

/// When all sessions are taken, one that has sent no request for this long may be closed to admit a
/// new one.
inline constexpr double kIdleSessionMs = 4'000.0;

/// The longest life of a subscription whose client is gone, unless three publishing intervals are
/// longer.
inline constexpr double kSubscriptionLifetimeMs = 600'000.0;

/// Descriptors that the server itself needs at most: streams, event loop, listening sockets, log
/// and trend archive. Connections get the rest.
inline constexpr std::size_t kOwnDescriptors = 32;

/// Descriptors needed to serve every connection that the limits allow.
std::size_t wantedDescriptors();

/// Writes all limits into the library's configuration, except those of intervals, which UAServer
/// sets. Call it after every call that resets the library's configuration.
/// @param descriptors  how many the process may have open; fewer than wanted mean fewer connections
void applyLimits(UA_ServerConfig& config, std::size_t descriptors);
