#pragma once

#include <chrono>
#include <cstddef>

/// What a client may cost the others that does not read, reads slowly, asks without end or never
/// ends what it says. docs/limits.md shows the values to users.
struct ClientBounds {
    /// Bytes that wait for one client: several times the largest answer, so that only a client that
    /// goes on asking without reading gets there. Beyond it the connection is closed.
    std::size_t waitingPerConnection = std::size_t{16} << 20;

    /// Bytes that wait for all clients together: what the server's memory may grow by on account of
    /// clients that do not read. Beyond it the connection with the most bytes is closed.
    std::size_t waitingInAll = std::size_t{64} << 20;

    /// The connection of a client that takes nothing for so long is closed. A line that is down for
    /// 20 s is taken up again by TCP within this time.
    std::chrono::milliseconds withoutProgress{60'000};

    /// A connection that the library closes stays open for so long at most while bytes wait for it,
    /// the answer among them that gives it the reason. Less than an operator notices when the
    /// server is stopped.
    std::chrono::milliseconds lastBytes{500};

    /// Bytes of requests that wait with the server while the client's answers wait. Beyond it they
    /// are answered all the same, and the bounds above decide.
    std::size_t heldRequests = std::size_t{256} << 10;

    /// Beyond `heldRequests`, requests are answered for so long with every piece that comes, which
    /// is enough for any client that waits for answers at some time. Of one for which it is not,
    /// this many bytes may wait before it is disconnected.
    std::chrono::milliseconds longestTurn{20};
    std::size_t heldRequestsAtMost = std::size_t{1} << 20;

    /// A request waits no longer than this for earlier answers to be taken while less than
    /// `waitingForMore` bytes of them wait: on a slow line a session must stay alive while a large
    /// answer is on its way.
    std::chrono::milliseconds heldAtMost{5'000};
    std::size_t waitingForMore = std::size_t{4} << 20;

    /// Bytes of all clients' messages of which more is to come: eight of the longest. Beyond it the
    /// connection with the most bytes is closed.
    std::size_t unfinishedInAll = std::size_t{16} << 20;

    /// Bytes of the arrays that one request makes the library allocate. The values of the largest
    /// history answer take 5 MB.
    std::size_t arraysPerRequest = std::size_t{12} << 20;

    /// Requests of one client that have arrived together are answered for so long, after the first,
    /// before the others get their turn. Some 5000 values are read within it. Processor time, as
    /// are `round` and `longestTurn`.
    std::chrono::milliseconds turn{2};

    /// The same for the requests that waited, of all clients together, in one round of the loop;
    /// then the turn that has begun.
    std::chrono::milliseconds round{10};

    /// No turn is longer than this by the wall clock, however little the server has run.
    std::chrono::milliseconds turnByWallClock{20};

    /// Bytes that one round of the loop copies to one client's socket; 64 clients at once take
    /// about 5 ms with it.
    std::size_t copiedPerRound = std::size_t{256} << 10;

    /// How long the loop sleeps before it tries the sockets again: the least while they take bytes,
    /// which keeps a line of 1 Gbit/s busy; doubled up to the most while they take none.
    std::chrono::milliseconds shortestPause{1};
    std::chrono::milliseconds longestPause{16};
};
