// Conversations of any content with the whole server, in process: nothing crashes, nothing takes
// long, clients receive a valid stream of the protocol, and sessions and channels end.
//
// An input is a list of records, each with kSeparator before it: a byte with the number of a peer
// (bits 0 and 1) and an Action (bits 2 to 4), and a message. Messages are adapted to the run:
// length, channel, sequence number, session, subscription and continuation point become those that
// the server has given. The clock is the input's too.

#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <map>
#include <optional>

#include "fuzz/support/fuzzing.h"
#include "lib/util/vs_obj.h"
#include "server/ServerState.h"
#include "server/connections/TransportChunk.h"
#include "server/endpoint/TcpManager.h"
#include "server/limits/Limits.h"
#include "server/startup/StartupSequence.h"
#include "tests/support/controller_database.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::array<std::uint8_t, 4> kSeparator{'>', '>', 'U', 'A'};

enum class Action : std::uint8_t {
    send,
    sendInSessionOfNext,  ///< of the peer with the next number
    sendUnchanged,
    hold,      ///< until something more is sent
    sendHalf,  ///< the rest with what is sent next
    close,
    wait,  ///< 2 to the power of the message's first byte, milliseconds
    turnReading
};

// ---- Clock and network --------------------------------------------------------------------------

UA_Server* server = nullptr;
UA_DateTime clockTicks = UA_DATETIME_SEC;

/// Each look takes a little, so that turns come to an end.
UA_DateTime clockNow() {
    return clockTicks += 20 * UA_DATETIME_USEC;
}

/// How long all other clients would wait, in processor time.
class Stopwatch {
  public:
    ~Stopwatch() { require(milliseconds() - start_ < kLongest); }

  private:
    static constexpr double kLongest = __has_feature(address_sanitizer) ? 400.0 : 20.0;
    static double milliseconds() {
        timespec now{};
        (void)clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
    }
    double start_ = milliseconds();
};

/// Replaces the TCP manager under our connections: its sockets are socket pairs.
struct Network {
    UA_ConnectionManager* tcp = nullptr;
    UA_ConnectionManager_connectionCallback callback = nullptr;
    void* application = nullptr;
    void* listening = nullptr;  ///< the library's context of the listening socket
    std::vector<std::uintptr_t> closing;

    void report(std::uintptr_t id, void** context, UA_ConnectionState state,
                Bytes bytes = {}) const {
        const Stopwatch stopwatch;
        callback(tcp, id, application, context, state, &UA_KEYVALUEMAP_NULL,
                 {bytes.size(), bytes.data()});
    }
} network;

UA_StatusCode listenNowhere(UA_ConnectionManager* /*tcp*/, const UA_KeyValueMap* /*params*/,
                            void* application, void* context,
                            UA_ConnectionManager_connectionCallback callback) {
    constexpr std::uintptr_t kNoSocket = 0xFFFF;
    network.callback = callback;
    network.application = application;
    network.listening = context;
    network.report(kNoSocket, &network.listening, UA_CONNECTIONSTATE_ESTABLISHED);
    return UA_STATUSCODE_GOOD;
}

UA_StatusCode closeLater(UA_ConnectionManager* /*tcp*/, std::uintptr_t id) {
    network.closing.push_back(id);
    return UA_STATUSCODE_GOOD;
}

// ---- Clients ------------------------------------------------------------------------------------

constexpr std::size_t kChannel = 8, kToken = 12, kOpenSequence = 71;  // of policy None
constexpr std::size_t kOpenedToken = kOpenSequence + 44;
constexpr std::size_t kBody = kServiceHeaderSize + 4;  // behind the number of the service
constexpr std::size_t kAnswer = kBody + 24;            // behind the response header
constexpr std::size_t kAuditLength = kBody + 35;       // in a request header
using GuidNodeId = std::array<std::uint8_t, 19>;       // as sessions have it
using Guid = std::array<std::uint8_t, 16>;             // as continuation points are

// Number of a service -> where its first subscription's id lies behind the request header.
const std::map<std::uint32_t, std::size_t> kSubscriptionAt = {
    {712, 17}, {751, 0}, {763, 0}, {769, 0}, {775, 0}, {781, 0},
    {793, 0},  {799, 5}, {826, 4}, {832, 0}, {841, 4}, {847, 4}};

/// What the server has given in the current input.
struct Given {
    GuidNodeId firstSession{};
    std::uint32_t subscription = 0;  ///< id of the first one, minus 1
    Guid continuationPoint{};        ///< the last
} given;

std::uint32_t serviceOf(ByteView message) {
    return numberAt(message, kServiceHeaderSize) >> 16;
}

/// A copy of the bytes at a place, or of the bytes to it, where the message is long enough.
template <class Array>
void copyFrom(ByteView message, std::size_t at, Array& to) {
    if (message.size() >= at + to.size()) std::copy_n(message.data() + at, to.size(), to.data());
}
template <class Array>
void copyTo(Bytes& message, std::size_t at, const Array& from) {
    if (message.size() >= at + from.size()) std::ranges::copy(from, message.data() + at);
}

class Peer {
  public:
    bool isOpen() const { return ends_[0] != -1; }
    std::uintptr_t id() const { return static_cast<std::uintptr_t>(ends_[0]); }
    void turnReading() { reads_ = !reads_; }

    void open() {
        require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends_.data()) == 0);
        const int little = 1;  // the kernel's least is some kilobytes, so that answers wait
        (void)setsockopt(ends_[0], SOL_SOCKET, SO_SNDBUF, &little, sizeof little);
        context_ = network.listening;
        network.report(id(), &context_, UA_CONNECTIONSTATE_ESTABLISHED);
    }

    void close() {
        network.report(id(), &context_, UA_CONNECTIONSTATE_CLOSING);
        for (const int end : ends_)
            ::close(end);
        *this = Peer();
    }

    void send(Bytes message, Action action, const Peer& inSessionOf) {
        if (action != Action::sendUnchanged) adapt(message, inSessionOf.session_);
        held_.insert(held_.end(), message.begin(), message.end());
        if (action == Action::hold || held_.empty()) return;
        const auto part = std::ssize(held_) / (action == Action::sendHalf ? 2 : 1);
        const Bytes now(held_.begin(), held_.begin() + part);
        held_.erase(held_.begin(), held_.begin() + part);
        if (part > 0) network.report(id(), &context_, UA_CONNECTIONSTATE_ESTABLISHED, now);
    }

    /// @return whether something came
    bool read() {
        std::array<std::uint8_t, 65'536> buffer;  // no chunk is longer
        const ssize_t got = reads_ ? recv(ends_[1], buffer.data(), buffer.size(), 0) : 0;
        if (got <= 0) return false;
        received_.insert(received_.end(), buffer.begin(), buffer.begin() + got);
        ByteView rest = received_;
        while (rest.size() >= kTransportHeaderSize) {
            const std::size_t size = numberAt(rest, kChunkSizeOffset);
            require(size >= kTransportHeaderSize && size <= buffer.size());
            if (rest.size() < size) break;
            take(rest.first(size));
            rest = rest.subspan(size);
        }
        received_ = Bytes(rest.begin(), rest.end());
        return true;
    }

  private:
    void adapt(Bytes& message, const GuidNodeId& session) {
        const auto set = [&](std::size_t at, std::uint32_t number) {
            if (message.size() >= at + 4) setNumberAt(message, at, number);
        };
        const bool opens = isOfType(message, "OPN");
        set(kChunkSizeOffset, static_cast<std::uint32_t>(message.size()));
        if (!opens && !isOfType(message, "MSG") && !isOfType(message, "CLO")) return;
        set(kChannel, channel_);
        if (!opens) set(kToken, token_);
        set(opens ? kOpenSequence : kSequenceNumberOffset, ++sent_);
        if (message.size() < kAuditLength + 4 || message[kBody] != 4) return;
        copyTo(message, kBody, session[0] != 0 ? session : given.firstSession);

        const std::size_t audit = numberAt(message, kAuditLength);
        const std::size_t header = kAuditLength + 11 + (audit <= message.size() ? audit : 0);
        const auto found = kSubscriptionAt.find(serviceOf(message));
        constexpr std::uint32_t kBrowseNext = 533;
        if (serviceOf(message) == kBrowseNext) copyTo(message, header + 9, given.continuationPoint);
        if (found == kSubscriptionAt.end() || message.size() < header + found->second + 4) return;
        const std::size_t at = header + found->second;
        set(at, given.subscription + numberAt(message, at));
    }

    /// A whole chunk that the server sent.
    void take(ByteView chunk) {
        if (isOfType(chunk, "ACK") || isOfType(chunk, "ERR")) return;
        const bool opens = isOfType(chunk, "OPN");
        require(opens || isOfType(chunk, "MSG"));
        const std::size_t sequenceAt = opens ? kOpenSequence : kSequenceNumberOffset;
        require(chunk.size() >= sequenceAt + 8);
        const std::uint32_t sequence = numberAt(chunk, sequenceAt);
        require(!sequence_ || sequence == *sequence_ + 1);
        sequence_ = sequence;
        if (opens && chunk.size() >= kOpenedToken + 4) {
            channel_ = numberAt(chunk, kOpenedToken - 4);
            token_ = numberAt(chunk, kOpenedToken);
        } else if (!opens && chunk.size() >= kAnswer + 4) {
            takeAnswer(chunk);
        }
    }

    void takeAnswer(ByteView answer) {
        constexpr std::uint32_t kCreateSession = 464, kCreateSubscription = 790, kBrowse = 530;
        const std::uint32_t service = serviceOf(answer);
        if (service == kCreateSession) {
            copyFrom(answer, kAnswer + session_.size(), session_);
            if (given.firstSession[0] == 0) given.firstSession = session_;
        } else if (service == kCreateSubscription && given.subscription == 0) {
            given.subscription = numberAt(answer, kAnswer) - 1;
        } else if (service == kBrowse) {
            copyFrom(answer, kAnswer + 12, given.continuationPoint);
        }
    }

    std::array<int, 2> ends_{-1, -1};
    void* context_ = nullptr;
    bool reads_ = true;
    Bytes held_, received_;
    std::uint32_t channel_ = 0, token_ = 0, sent_ = 0;
    std::optional<std::uint32_t> sequence_;  // of the last chunk that came
    GuidNodeId session_{};                   // its token
};

std::array<Peer, 4> peers;

// ---- A conversation -----------------------------------------------------------------------------

/// Runs rounds of the loop until no client receives anything more.
void settle(double milliseconds) {
    constexpr double kPause = 4.0;
    constexpr int kQuietRounds = 2;  // in which what waited has been sent
    for (int quiet = 0, round = 0; quiet < kQuietRounds && round < 1000; ++quiet, ++round) {
        clockTicks += static_cast<UA_DateTime>(milliseconds * UA_DATETIME_MSEC);
        milliseconds = kPause;
        {
            const Stopwatch stopwatch;
            (void)UA_Server_run_iterate(server, false);
        }
        for (Peer& peer : peers) {
            if (peer.isOpen() && peer.read()) quiet = 0;
            if (peer.isOpen() && std::erase(network.closing, peer.id()) > 0) peer.close();
        }
    }
}

void happen(std::uint8_t head, const Bytes& message) {
    constexpr std::uint8_t kLongestWait = 17;  // some two minutes
    Peer& peer = peers.at(head % peers.size());
    const Action action{static_cast<std::uint8_t>(head >> 2 & 7)};
    if (action == Action::wait)
        return settle(1 << (message.empty() ? 0 : std::min(message[0], kLongestWait)));
    if (!peer.isOpen()) peer.open();
    if (action == Action::close) {
        (void)closeLater(nullptr, peer.id());
    } else if (action == Action::turnReading) {
        peer.turnReading();
    } else {
        const bool ofNext = action == Action::sendInSessionOfNext;
        peer.send(message, action, ofNext ? peers.at((head + 1U) % peers.size()) : peer);
    }
    settle(1.0);
}

void endAll() {
    for (Peer& peer : peers)
        if (peer.isOpen()) (void)closeLater(nullptr, peer.id());
    settle(61'000.0);  // sessions without a connection go, one a second
    const auto left = [] { return UA_Server_getStatistics(server); };
    for (int tries = 0; left().ss.currentSessionCount > 0; ++tries) {
        require(tries < 100);
        settle(1'000.0);
    }
    settle(121'000.0);  // and now those that were never activated
    require(left().scs.currentChannelCount == 0);
    given = {};
    // Subscriptions of sessions that timed out live for 300 publishing intervals of an hour at
    // most.
    static unsigned inputs = 0;
    const int hours = ++inputs % 1024 == 0 ? 310 : 0;
    for (int hour = 0; hour < hours; ++hour)
        settle(3'600'000.0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto separatorFrom = [&](const std::uint8_t* from) {
        return std::search(from, data + size, kSeparator.begin(), kSeparator.end());
    };
    for (const std::uint8_t* at = separatorFrom(data); data + size - at > std::ssize(kSeparator);) {
        const std::uint8_t* const head = at + kSeparator.size();
        at = separatorFrom(head + 1);
        happen(*head, Bytes(head + 1, at));
    }
    endAll();
    return 0;
}

// ---- The process --------------------------------------------------------------------------------

namespace {

int* argumentCount = nullptr;  // null until the server is being started
char*** arguments = nullptr;

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" UA_DateTime __wrap_UA_DateTime_nowMonotonic() {
    return clockNow();
}

/// Memory never runs short here. The server allocates its reserve regularly to check that, and with
/// the sanitizer this would take longer than everything else together.
extern "C" void* __real_malloc(std::size_t size);
extern "C" void* __wrap_malloc(std::size_t size) {
    return __real_malloc(size == kReservedBytes ? 1 : size);
}

extern "C" int LLVMFuzzerRunDriver(int* argc, char*** argv,
                                   int (*target)(const std::uint8_t* data, std::size_t size));

/// Replaces the server's loop by the fuzzer's. It does not return.
extern "C" UA_StatusCode __wrap_UA_Server_runUntilInterrupt(UA_Server* started) {
    for (const int signal : {SIGINT, SIGTERM})
        (void)std::signal(signal, SIG_DFL);
    server = started;
    const UA_ServerConfig& config = *UA_Server_getConfig(server);
    clockTicks = config.eventLoop->dateTime_nowMonotonic(config.eventLoop);
    config.eventLoop->dateTime_nowMonotonic = [](UA_EventLoop*) { return clockNow(); };
    UA_EventSource* source = &tcpManager(config)->eventSource;  // ours
    const UA_String behind = UA_STRING(const_cast<char*>("tcp behind a queue"));
    do {
        source = source->next;
        network.tcp = reinterpret_cast<UA_ConnectionManager*>(source);
    } while (!UA_String_equal(&network.tcp->protocol, &behind));
    network.tcp->openConnection = listenNowhere;
    network.tcp->closeConnection = closeLater;
    require(UA_Server_run_startup(server) == UA_STATUSCODE_GOOD);
    std::_Exit(LLVMFuzzerRunDriver(argumentCount, arguments, LLVMFuzzerTestOneInput));
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

/// One plotter with zrtsim's first three pens, of 10, 100 and 1000 values in any time.
void scriptTrends() {
    const char* const path = "/zrt/scripted.trends";
    std::ofstream script(path);
    script
        << "plotters 1\nplotter 1 3\npen 1 1 4 0 6\npen 1 2 4 2 1\npen 1 3 11 1 1\nwhole\nfixed\n";
    for (int pen = 1, count = 10; pen <= 3; ++pen, count *= 10) {
        for (int i = 0; i < count; ++i)
            script << "value 1 " << pen << " 4 1.5 " << 1'790'000'000 + i << " 0 192\n";
    }
    setenv("SCRIPTED_TRENDS", path, 1);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    if (argumentCount != nullptr) return 0;
    argumentCount = argc;
    arguments = argv;
    for (std::uint8_t kind = 0; kind < 3; ++kind)  // of manual inputs: number, text, switch
        database.put(ControllerDatabase::Area::passport, 3, kind + 1, 27, kind);
    std::filesystem::copy_file(UA_MESSAGES_INI, "/zrt/settings/opcuasrv.ini");
    scriptTrends();
    delete std::exchange(All, nullptr);  // the database's; the server makes its own
    return runStartupSequence([] {});
}
