#include "server/connections/QueueingConnections.h"

#include <open62541/types_generated.h>

#include <optional>

#include "tests/unit/server/connections/socket_pair.h"

namespace {

using Id = std::uintptr_t;

/// The library around the connections: its loop with a clock that the test sets, its TCP manager,
/// which closes a connection in the loop's next round, and the server that is notified of
/// connections.
class Library {
  public:
    explicit Library(const ClientBounds& bounds) {
        loop_.self = this;
        loop_.dateTime_nowMonotonic = [](UA_EventLoop* l) { return of(l).now_; };
        loop_.addTimer = [](UA_EventLoop* l, UA_Callback callback, void* application, void*,
                            UA_Double ms, UA_DateTime*, UA_TimerPolicy, UA_UInt64* id) {
            of(l).timers_[++of(l).lastTimer_] = {of(l).now_ + static_cast<UA_DateTime>(ms * 1e4),
                                                 callback, application};
            *id = of(l).lastTimer_;
            return UA_STATUSCODE_GOOD;
        };
        loop_.removeTimer = [](UA_EventLoop* l, UA_UInt64 id) { of(l).timers_.erase(id); };
        loop_.registerEventSource = [](UA_EventLoop* l, UA_EventSource* source) {
            source->next = l->eventSources;
            source->eventLoop = l;
            l->eventSources = source;
            return UA_STATUSCODE_GOOD;
        };
        tcp_.protocol = UA_STRING_STATIC("tcp");
        tcp_.eventSource.eventLoop = &loop_;
        tcp_.openConnection = [](UA_ConnectionManager* m, const UA_KeyValueMap*, void* application,
                                 void*, UA_ConnectionManager_connectionCallback callback) {
            of(m).application_ = application;
            of(m).callback_ = callback;
            return UA_STATUSCODE_GOOD;
        };
        tcp_.closeConnection = [](UA_ConnectionManager* m, Id id) {
            of(m).closing_.push_back(id);
            return UA_STATUSCODE_GOOD;
        };
        tcp_.freeNetworkBuffer = [](UA_ConnectionManager* m, Id, UA_ByteString*) {
            ++of(m).buffersFreed;
        };
        loop_.eventSources = &tcp_.eventSource;
        EXPECT_TRUE(queueAnswers(tcp_, bounds, []() noexcept { return ran; }));
        manager_ = reinterpret_cast<UA_ConnectionManager*>(loop_.eventSources);
        EXPECT_FALSE(UA_String_equal(&manager_->protocol, &tcp_.protocol))
            << "the library would take the other one when the first refuses";
        EXPECT_EQ(manager_->openConnection(manager_, nullptr, this, nullptr, onActivity), 0u);
    }
    ~Library() { manager_->eventSource.free(&manager_->eventSource); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    /// A client connects; true in `open` until the library is notified of the end.
    Id accept(SocketPair& sockets) {
        const auto id = static_cast<Id>(sockets.server());
        open[id] = true;
        activity(id, UA_CONNECTIONSTATE_ESTABLISHED, {});
        return id;
    }
    template <class... Sockets>
    std::array<Id, sizeof...(Sockets)> acceptAll(Sockets&... sockets) {
        return {accept(sockets)...};
    }
    void receive(Id id, Bytes bytes) {
        activity(id, UA_CONNECTIONSTATE_ESTABLISHED, std::move(bytes));
    }
    UA_StatusCode send(Id id, Bytes bytes) {
        UA_ByteString buffer{bytes.size(), bytes.data()};
        return manager_->sendWithConnection(manager_, id, nullptr, &buffer);
    }
    void close(Id id) { manager_->closeConnection(manager_, id); }

    /// The loop's rounds within so many milliseconds. @return how often its timer woke it
    int run(double ms) {
        int woken = 0;
        const UA_DateTime end = now_ + static_cast<UA_DateTime>(ms * 1e4);
        for (;;) {
            endClosing();
            const auto next = std::ranges::min_element(
                timers_, {}, [](const auto& timer) { return timer.second.at; });
            if (next == timers_.end() || next->second.at > end) break;
            now_ = std::max(now_, next->second.at);
            const Timer timer = next->second;
            timers_.erase(next);
            timer.callback(timer.application, nullptr);
            ++woken;
        }
        now_ = end;
        return woken;
    }
    void pass(double ms) { now_ += static_cast<UA_DateTime>(ms * 1e4); }

    static inline Ticks ran{};  // on a processor
    std::map<Id, bool> open;
    std::map<Id, Bytes> received;  // what the server was given
    std::function<void(Id, const Bytes&)> onMessage;
    int buffersFreed = 0;

  private:
    struct Timer {
        UA_DateTime at;
        UA_Callback callback;
        void* application;
    };
    struct Loop : UA_EventLoop {
        Library* self = nullptr;
    };
    static Library& of(UA_EventLoop* loop) { return *static_cast<Loop*>(loop)->self; }
    static Library& of(UA_ConnectionManager* tcp) { return of(tcp->eventSource.eventLoop); }
    static void onActivity(UA_ConnectionManager*, Id id, void* application, void**,
                           UA_ConnectionState state, const UA_KeyValueMap*, UA_ByteString message) {
        Library& self = *static_cast<Library*>(application);
        if (state == UA_CONNECTIONSTATE_CLOSING) self.open[id] = false;
        if (message.length == 0) return;
        const Bytes bytes(message.data, message.data + message.length);
        append(self.received[id], bytes);
        if (self.onMessage) self.onMessage(id, bytes);
    }
    void activity(Id id, UA_ConnectionState state, Bytes bytes) {
        void* context = nullptr;
        callback_(&tcp_, id, application_, &context, state, &UA_KEYVALUEMAP_NULL,
                  {bytes.size(), bytes.data()});
    }
    void endClosing() {
        for (const Id id : std::exchange(closing_, {}))
            if (open[id]) activity(id, UA_CONNECTIONSTATE_CLOSING, {});
    }

    Loop loop_{};
    UA_ConnectionManager tcp_{};
    UA_ConnectionManager* manager_ = nullptr;
    void* application_ = nullptr;
    UA_ConnectionManager_connectionCallback callback_ = nullptr;
    std::map<UA_UInt64, Timer> timers_;
    UA_UInt64 lastTimer_ = 0;
    std::vector<Id> closing_;
    UA_DateTime now_ = 1'000'000;
};

constexpr std::size_t kMore = 400'000;  // than a socket takes

/// A request of one chunk.
Bytes request(std::size_t size, std::uint8_t content) {
    return chunk("MSGF", size, content);
}

Bytes readAll(const SocketPair& sockets, Library& library) {
    Bytes all;
    for (int idle = 0; idle < 20; ++idle) {  // longer than the longest pause
        library.run(1);
        for (Bytes part = sockets.read(100'000); !part.empty(); part = sockets.read(100'000)) {
            append(all, part);
            idle = 0;
        }
    }
    return all;
}

}  // namespace

TEST(QueueingConnections, EachClientGetsWhatWasSentToItAndNothingElse) {
    struct Client {
        SocketPair sockets;
        Id id = 0;
        Bytes sent, got;
    };
    std::mt19937 random(2);
    Library library{ClientBounds{}};
    std::array<std::optional<Client>, 4> clients;
    const auto expectAll = [&](Client& client) {
        append(client.got, readAll(client.sockets, library));
        EXPECT_EQ(client.got, client.sent);
    };
    int sends = 0;
    for (int step = 0; step < 4000; ++step) {
        auto& client = clients[random() % clients.size()];
        if (!client) {  // often with the number of a socket that has just been closed
            client.emplace();
            client->id = library.accept(client->sockets);
        }
        const auto what = random() % 40;
        if (what < 10) {
            const Bytes bytes = randomBytes(random, random() % 30'000 + 1);
            ASSERT_EQ(library.send(client->id, bytes), UA_STATUSCODE_GOOD);
            ASSERT_EQ(library.buffersFreed, ++sends);
            append(client->sent, bytes);
        } else if (what < 25) {
            append(client->got, client->sockets.read(random() % 60'000 + 1));
        } else if (what < 39) {
            library.run(static_cast<double>(random() % 20));
        } else {
            library.close(client->id);
            expectAll(*client);
            library.run(600);
            EXPECT_FALSE(library.open[client->id]);
            client.reset();
        }
    }
    for (auto& client : clients)
        if (client) expectAll(*client);
    EXPECT_EQ(library.run(1000), 0) << "an idle server is woken";
}

TEST(QueueingConnections, TooManyBytesEndTheConnectionThatHasThem) {
    ClientBounds bounds;
    bounds.waitingPerConnection = 1'000'000;
    bounds.waitingInAll = 2'000'000;
    Library library{bounds};
    SocketPair greedy, second, third, small;
    const auto ids = library.acceptAll(greedy, second, third, small);
    EXPECT_EQ(library.send(ids[0], Bytes(900'000)), UA_STATUSCODE_GOOD);
    EXPECT_EQ(library.send(ids[1], Bytes(950'000)), UA_STATUSCODE_GOOD);
    EXPECT_EQ(library.send(ids[3], Bytes(200'000)), UA_STATUSCODE_GOOD);
    EXPECT_EQ(library.send(ids[2], Bytes(300'000)), UA_STATUSCODE_GOOD);
    library.run(0);
    EXPECT_FALSE(library.open[ids[1]]) << "it had the most when all together had too many";
    EXPECT_TRUE(library.open[ids[0]] && library.open[ids[2]] && library.open[ids[3]]);

    EXPECT_EQ(library.send(ids[0], Bytes(500'000)), UA_STATUSCODE_BADCONNECTIONCLOSED);
    EXPECT_EQ(library.send(ids[0], Bytes(1)), UA_STATUSCODE_BADCONNECTIONCLOSED);
    library.run(0);
    EXPECT_FALSE(library.open[ids[0]]) << "too many by itself";
    EXPECT_EQ(library.buffersFreed, 6);
    EXPECT_EQ(readAll(small, library), Bytes(200'000));
    EXPECT_EQ(readAll(third, library), Bytes(300'000));
    for (const Id id : {ids[2], ids[3]})  // what was taken no longer counts
        EXPECT_EQ(library.send(id, Bytes(950'000)), UA_STATUSCODE_GOOD);
    library.run(0);
    EXPECT_TRUE(library.open[ids[2]] && library.open[ids[3]]);
}

TEST(QueueingConnections, WhoTakesNothingIsDisconnectedWhoTakesLittleIsNot) {
    Library library{ClientBounds{}};
    SocketPair dead, slow, gone;
    const auto [deadId, slowId, goneId] = library.acceptAll(dead, slow, gone);
    for (const Id id : {deadId, slowId, goneId})
        library.send(id, Bytes(kMore));
    gone.closeClientsEnd();
    EXPECT_EQ(library.run(50) > 0 && library.open[goneId], false);
    int woken = 0;
    for (int s = 0; s < 59; ++s) {
        woken += library.run(1000);
        ASSERT_FALSE(slow.read(5000).empty());
    }
    EXPECT_TRUE(library.open[deadId]);
    EXPECT_LT(woken, 59 * 1000 / 10) << "sockets that take nothing are tried too often";
    library.run(2000);
    EXPECT_FALSE(library.open[deadId]);
    EXPECT_TRUE(library.open[slowId]);
}

TEST(QueueingConnections, TheLastBytesGoOutForAShortTime) {
    Library library{ClientBounds{}};
    SocketPair reads, doesNot, nothingWaits;
    const auto ids = library.acceptAll(reads, doesNot, nothingWaits);
    for (const Id id : {ids[0], ids[1]})
        library.send(id, Bytes(kMore));
    for (const Id id : ids)
        library.close(id);
    library.receive(ids[0], request(100, 1));
    library.run(1);
    EXPECT_FALSE(library.open[ids[2]]);
    EXPECT_EQ(library.send(ids[0], Bytes(1)), UA_STATUSCODE_BADCONNECTIONCLOSED);
    EXPECT_EQ(readAll(reads, library), Bytes(kMore));
    EXPECT_FALSE(library.open[ids[0]]);
    EXPECT_TRUE(library.received[ids[0]].empty()) << "nothing is asked of a closed channel";
    EXPECT_TRUE(library.open[ids[1]]);
    library.run(500);
    EXPECT_FALSE(library.open[ids[1]]);
}

TEST(QueueingConnections, RequestsComeWholeHoweverTheyArrive) {
    std::mt19937 random(3);
    Library library{ClientBounds{}};
    SocketPair sockets;
    const Id id = library.accept(sockets);
    Bytes stream;
    for (int i = 0; i < 300; ++i)
        append(stream, request(random() % 200 + 8, 7));
    int ends = 0;
    library.onMessage = [&](Id, const Bytes& bytes) {
        EXPECT_TRUE(!isOfType(bytes, "MSG") || bytes.size() <= numberAt(bytes, kChunkSizeOffset))
            << "more than one at once";
        ++ends;
    };
    for (std::size_t done = 0; done < stream.size();) {
        const auto part = std::span(stream).subspan(done).first(
            std::min<std::size_t>(random() % 700 + 1, stream.size() - done));
        library.receive(id, Bytes(part.begin(), part.end()));
        done += part.size();
    }
    EXPECT_EQ(library.received[id], stream);
    EXPECT_GE(ends, 300);
    library.receive(id, Bytes(5000));  // sizes of 0, which the server refuses
    EXPECT_EQ(library.received[id].size(), stream.size() + 5000);
}

TEST(QueueingConnections, RequestsWaitWhileAnswersDo) {
    ClientBounds bounds;
    bounds.heldRequests = 1000;
    Library library{bounds};
    SocketPair sockets;
    const Id id = library.accept(sockets);
    const auto count = [&] { return library.received[id].size() / 100; };
    library.send(id, Bytes(kMore));
    for (int i = 0; i < 5; ++i)
        library.receive(id, request(100, 0));
    library.run(4000);
    EXPECT_EQ(count(), 0u);
    library.run(1500);
    EXPECT_EQ(count(), 1u) << "a session on a slow line stays alive";
    library.run(5100);
    EXPECT_EQ(count(), 2u);
    for (int i = 0; i < 10; ++i)
        library.receive(id, request(100, 0));
    EXPECT_EQ(count(), 5u) << "no more than its bound waits";
    EXPECT_EQ(readAll(sockets, library).size(), kMore);
    EXPECT_EQ(count(), 15u);
    EXPECT_EQ(library.run(1000), 0);
}

TEST(QueueingConnections, ManyRequestsOfOneClientLetOthersHaveTheirTurn) {
    Library library{ClientBounds{}};
    SocketPair busy, other;
    const auto [id, otherId] = library.acceptAll(busy, other);
    double ms = 0.5;
    std::chrono::microseconds runs{500};
    library.onMessage = [&](Id, const Bytes&) {
        library.pass(ms);
        Library::ran += runs;
    };
    Bytes many;
    for (int i = 0; i < 20; ++i)
        append(many, request(1000, 0));
    const struct {
        const char* why;
        double ms;
        std::size_t answered;
    } turns[] = {
        {"more than the wall clock allows", 15, 3},
        {"a quarter of the core is the server's", 2, 5},
        {"the first, and 2 ms", 0.5, 5},
    };
    for (const auto& turn : turns) {
        SCOPED_TRACE(turn.why);
        library.run(1000);
        library.received[id].clear();
        ms = turn.ms;
        library.receive(id, many);
        EXPECT_EQ(library.received[id].size(), 1000 * turn.answered);
    }
    library.receive(otherId, request(1000, 0));
    EXPECT_EQ(library.received[otherId].size(), 1000u);
    library.run(0);
    EXPECT_EQ(library.received[id].size(), 10'000u);
    library.run(100);
    EXPECT_EQ(library.received[id], many);

    for (int i = 0; i < 200; ++i)
        library.receive(id, many);  // without a round in between
    EXPECT_GE(library.received[id].size() + 300'000, 201 * many.size());
    EXPECT_TRUE(library.open[id]);
    ms = 10.0;
    runs = std::chrono::milliseconds{10};
    for (int i = 0; i < 100 && library.open[id]; ++i) {
        library.receive(id, many);
        library.run(0);
    }
    EXPECT_FALSE(library.open[id]) << "it asks faster than can be answered";
}

TEST(QueueingConnections, TheLongestMessageThatDoesNotEndCostsItsClientTheConnection) {
    ClientBounds bounds;
    bounds.unfinishedInAll = 50'000;
    Library library{bounds};
    SocketPair sockets[3];
    const auto piece = [](const char* typeAndEnd, std::size_t size) {
        Bytes bytes = chunk(typeAndEnd, size);
        setNumberAt(bytes, kServiceHeaderSize, 1U | 631U << 16U);  // Read, which may be long
        return bytes;
    };
    const auto ids = library.acceptAll(sockets[0], sockets[1], sockets[2]);
    library.receive(ids[0], piece("MSGC", 30'000));
    library.receive(ids[1], piece("MSGC", 15'000));
    library.receive(ids[1], piece("MSGF", 1'000));
    library.receive(ids[2], piece("MSGC", 19'000));
    library.run(0);
    EXPECT_TRUE(library.open[ids[0]]);
    library.receive(ids[2], piece("MSGC", 2'000));
    library.run(0);
    EXPECT_FALSE(library.open[ids[0]]);
    library.receive(ids[1], piece("MSGC", 28'000));
    library.run(0);
    EXPECT_TRUE(library.open[ids[1]] && library.open[ids[2]]) << "its bytes no longer count";
}

TEST(QueueingConnections, TheArraysOfOneRequestAreBounded) {
#ifndef UA_ENABLE_MALLOC_SINGLETON
    GTEST_SKIP() << "the library was built without what this takes";
#endif
    ClientBounds bounds;
    bounds.arraysPerRequest = 10 * sizeof(UA_DataValue);
    Library library{bounds};
    SocketPair sockets;
    const Id id = library.accept(sockets);
    const auto allocates = [](std::size_t count) {
        void* const array = UA_Array_new(count, &UA_TYPES[UA_TYPES_DATAVALUE]);
        if (array != nullptr) UA_Array_delete(array, count, &UA_TYPES[UA_TYPES_DATAVALUE]);
        return array != nullptr;
    };
    int requests = 0;
    library.onMessage = [&](Id, const Bytes&) {
        ++requests;
        EXPECT_TRUE(allocates(8));
        EXPECT_FALSE(allocates(3)) << "with those before it";
        EXPECT_FALSE(allocates(SIZE_MAX / sizeof(UA_DataValue)));
    };
    for (int i = 0; i < 2; ++i)
        library.receive(id, request(100, 0));
    EXPECT_EQ(requests, 2);
    EXPECT_TRUE(allocates(100));
}
