#include "tools/opcuaweb/http/connection.h"

#include <sys/socket.h>
#include <unistd.h>

#include "tests/support/basics.h"

namespace tools::opcuaweb {

/// A connection with very little time, and the browser's end of it.
struct Ends {
    Ends() {
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, sockets.data()), 0);
        connection.emplace(sockets[0], ConnectionTimes{.request = kShort, .stall = kShort});
    }
    ~Ends() {
        close(sockets[0]);
        close(sockets[1]);
    }
    std::size_t readAll() {
        std::size_t count = 0;
        for (ssize_t part; (part = connection->read(bytes.data(), bytes.size())) > 0;)
            count += static_cast<std::size_t>(part);
        return count;
    }

    static constexpr std::chrono::milliseconds kShort{50};
    std::array<int, 2> sockets{};
    std::optional<Connection> connection;
    std::array<char, 1000> bytes{};
};

TEST(Connection, EndsWithARequestThatTakesTooLongOrIsTooLong) {
    const struct {
        const char* why;
        std::string sent;
        std::size_t read;
    } cases[] = {
        {"nothing comes", "", 0},
        {"only a part comes", "GET / HTTP/1.1\r\nHost:", 21},
        {"a header without end", std::string(kMostHeader + 5000, 'x'), kMostHeader},
        {"a body after the header", "\r\n\r\n" + std::string(kMostHeader, 'x'), kMostHeader + 4},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        Ends ends;
        ASSERT_EQ(send(ends.sockets[1], c.sent.data(), c.sent.size(), 0), std::ssize(c.sent));
        const auto begin = Clock::now();
        EXPECT_EQ(ends.readAll(), c.read);
        EXPECT_LT(Clock::now() - begin, kRequestTime);
    }
}

TEST(Connection, EndsWithABrowserThatReadsNothing) {
    Ends ends;
    const auto begin = Clock::now();
    while (ends.connection->write(ends.bytes.data(), ends.bytes.size()) > 0) {
    }
    EXPECT_GE(Clock::now() - begin, Ends::kShort);
    EXPECT_LT(Clock::now() - begin, kWriteStall);
    while (recv(ends.sockets[1], ends.bytes.data(), ends.bytes.size(), 0) > 0) {
    }
    EXPECT_EQ(ends.connection->write("x", 1), 1) << "one that reads in time is served";
}

}  // namespace tools::opcuaweb
