#pragma once

#include <chrono>
#include <cstddef>

/// Bounds on what a client can cost the others if it does not read, reads slowly, sends requests
/// without pause or never completes its messages. docs/limits.md shows the values to users.
struct ClientBounds {
    /// Bytes that wait for one client: several times the largest answer, so that only a client that
    /// keeps sending requests without reading exceeds it. Beyond it the connection is closed.
    std::size_t waitingPerConnection = std::size_t{16} << 20;

    /// Bytes that wait for all clients together: the most that clients that do not read can add to
    /// the server's memory. Beyond it the connection with the most bytes is closed.
    std::size_t waitingInAll = std::size_t{64} << 20;

    /// If a client takes nothing for this long, its connection is closed. TCP resumes within this
    /// time on a line that was down for 20 s.
    std::chrono::milliseconds withoutProgress{60'000};

    /// A connection that the library closes stays open for at most this long while bytes wait for
    /// it, among them the answer with the reason. Too short for an operator to notice when the
    /// server is stopped.
    std::chrono::milliseconds lastBytes{500};

    /// Bytes of requests that the server holds back while the client's answers wait. Beyond it they
    /// are answered nevertheless, and the bounds above decide.
    std::size_t heldRequests = std::size_t{256} << 10;

    /// Beyond `heldRequests`, requests are answered for this long each time a piece arrives, which
    /// is enough for any client that waits for answers at some time. If it is not enough, this many
    /// bytes may wait before the client is disconnected.
    std::chrono::milliseconds longestTurn{20};
    std::size_t heldRequestsAtMost = std::size_t{1} << 20;

    /// A request waits no longer than this for earlier answers to be taken, as long as fewer than
    /// `waitingForMore` bytes of them wait: on a slow line a session must stay alive while a large
    /// answer is being sent.
    std::chrono::milliseconds heldAtMost{5'000};
    std::size_t waitingForMore = std::size_t{4} << 20;

    /// Bytes of all clients' unfinished messages: eight of the longest. Beyond it the connection
    /// with the most bytes is closed.
    std::size_t unfinishedInAll = std::size_t{16} << 20;

    /// Bytes of the arrays that one request makes the library allocate. The values of the largest
    /// history answer take 5 MB.
    std::size_t arraysPerRequest = std::size_t{12} << 20;

    /// After the first of several requests that have arrived together, one client's requests are
    /// answered for this long before other clients get their turn. About 5000 values are read
    /// within it. Processor time, as are `round` and `longestTurn`.
    std::chrono::milliseconds turn{2};

    /// The same for the waiting requests of all clients together, in one round of the loop; a turn
    /// that has begun is completed.
    std::chrono::milliseconds round{10};

    /// No turn is longer than this by the wall clock, even if the server hardly ran meanwhile.
    std::chrono::milliseconds turnByWallClock{20};

    /// Bytes that one round of the loop copies to one client's socket; for 64 clients at once that
    /// takes about 5 ms.
    std::size_t copiedPerRound = std::size_t{256} << 10;

    /// How long the loop sleeps before it tries the sockets again: `shortestPause` while they take
    /// bytes, which keeps a line of 1 Gbit/s busy; doubled up to the longest one while they take
    /// none.
    std::chrono::milliseconds shortestPause{1};
    std::chrono::milliseconds longestPause{16};
};
