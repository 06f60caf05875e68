#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

/// What the program takes at most, each with its reason. Nothing that a browser or a server sends
/// makes it grow beyond these.
namespace tools::opcuaweb {

using namespace std::chrono_literals;

// ---- Browsers ----------------------------------------------------------------------------------

/// Open pages. Each holds a connection and a thread; a control room has a handful.
inline constexpr std::size_t kMostBrowsers = 16;
/// Nodes that one page watches: a screen shows some fifty rows, a trend some ten pens.
inline constexpr std::size_t kMostWatched = 2000;
/// New journal messages that wait for a browser; the page can read older ones again.
inline constexpr std::size_t kMostWaitingMessages = 1000;
/// Bytes of one value that is a text; a longer one is cut. A cell of the table shows some fifty.
inline constexpr std::size_t kMostValueText = 4096;
/// Pause between two lots of values: the eye sees no more than four changes a second.
inline constexpr std::chrono::milliseconds kValuesEvery = 250ms;
/// From the first value of a lot until it is sent: the others of the same notification come within it. Sent
/// at once, the first alone would make all others wait for the next lot.
inline constexpr std::chrono::milliseconds kLotComplete = 20ms;
/// A comment is sent in a quiet stream, so that proxies and both sides see that it is alive.
inline constexpr std::chrono::milliseconds kPingEvery = 10s;

// ---- Connections -------------------------------------------------------------------------------

/// Threads that serve connections. One that sends nothing holds its thread for `kRequestTime` only,
/// so a thousand of them delay others by that time at most.
inline constexpr std::size_t kMostConnections = 512;
/// Connections that the kernel keeps until their first bytes come; it may allow fewer.
inline constexpr int kWaitingConnections = 4096;
/// A thread without work ends after this time.
inline constexpr std::chrono::milliseconds kThreadIdle = 10s;
/// From the connection to the end of its request, however it is split.
inline constexpr std::chrono::milliseconds kRequestTime = 5s;
/// A browser that reads nothing for this long is disconnected.
inline constexpr std::chrono::milliseconds kWriteStall = 30s;
/// From the signal to the end of the program, whatever its threads wait for.
inline constexpr std::chrono::milliseconds kEndTime = 500ms;
/// Bytes of request line and header: cookies of other pages of the host come along.
inline constexpr std::size_t kMostHeader = 32U << 10;
/// Bytes of a request's body: a configuration to be checked is the largest.
inline constexpr std::size_t kMostBody = 1U << 20;
/// Bytes of a configuration to be checked; the controller's own have some ten thousand.
inline constexpr std::size_t kMostConfiguration = 256U << 10;
/// Bytes of the configuration that is shown.
inline constexpr std::uintmax_t kMostConfigurationFile = 4U << 20;
/// Bytes that the kernel keeps for a browser that does not read.
inline constexpr int kSendBuffer = 64 << 10;

// ---- Requests to the server --------------------------------------------------------------------

/// Jobs that wait for the asking session: a few for each browser.
inline constexpr std::size_t kMostJobs = 64;
/// How long a browser waits for a short answer.
inline constexpr std::chrono::milliseconds kAnswerTime = 20s;
/// How long a walk through the tree for the rows below a node goes on; what it has found then is shown.
inline constexpr std::chrono::milliseconds kWalkTime = 20s;
/// Pause before the next attempt to connect.
inline constexpr std::chrono::milliseconds kConnectEvery = 1s;
/// What one request for children takes: its list ends there, even if the server never ends it. Others
/// wait meanwhile.
inline constexpr std::chrono::milliseconds kBrowseTime = 5s;
/// Bytes of a name, and of each text that the search looks at.
inline constexpr std::size_t kMostName = 512;
/// Text of a history that waits for its browser.
inline constexpr std::size_t kMostWaitingText = 1U << 20;

// ---- The tree ----------------------------------------------------------------------------------

/// Rows of one answer, some 300 bytes each; the page scrolls through them.
inline constexpr std::size_t kMostRows = 50'000;
/// Answers of that kind that are made at a time.
inline constexpr std::ptrdiff_t kMostWalks = 4;
/// Variables in the index of the search, some 300 bytes each. A controller has at most some ten
/// thousand tags.
inline constexpr std::size_t kMostIndexed = 200'000;
/// Objects that a walk visits, so that an endless tree ends.
inline constexpr std::size_t kMostObjects = 200'000;
/// Folders within folders.
inline constexpr int kMostDepth = 16;
/// Hits of a search.
inline constexpr std::size_t kMostHits = 500;
/// Children of one node; further ones are not read.
inline constexpr std::size_t kMostChildren = 50'000;

// ---- Overview ----------------------------------------------------------------------------------

inline constexpr std::size_t kSweepChunk = 1000;                      ///< values per request
inline constexpr std::chrono::milliseconds kSweepChunkEvery = 200ms;  ///< so 5000 values/s
inline constexpr std::chrono::milliseconds kSweepEvery = 30s;
inline constexpr std::chrono::seconds kOldAfter = 60s;  ///< a value without a newer time is old
/// Findings of a checked configuration, some 500 bytes each in the answer: more than anybody reads.
inline constexpr std::size_t kMostFindings = 2000;
/// Nodes of a checked configuration's tree, some 300 bytes each in the answer.
inline constexpr std::size_t kMostPlannedNodes = 50'000;

// ---- Journal, passwords ------------------------------------------------------------------------

inline constexpr std::chrono::milliseconds kJournalEvery = 500ms;
inline constexpr std::size_t kMostMessages = 10'000;  ///< of one answer
/// A wrong password is answered after this time, ...
inline constexpr std::chrono::milliseconds kRefusalTime = 500ms;
/// ... and at most this many attempts wait for theirs; further ones are refused at once.
inline constexpr int kMostAttempts = 8;
inline constexpr std::chrono::milliseconds kRefusalsEvery = 200ms;  ///< so 5 a second over all

}  // namespace tools::opcuaweb
