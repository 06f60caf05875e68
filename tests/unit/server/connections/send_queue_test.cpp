#include "server/connections/SendQueue.h"

#include "socket_pair.h"

TEST(SendQueue, KeepsOrderWhateverTheSocketTakes) {
    std::mt19937 random(1);
    SocketPair sockets;
    SendQueue queue;
    Bytes given;
    Bytes got;
    for (int step = 0; step < 3000; ++step) {
        switch (random() % 4) {
            case 0: {
                const Bytes bytes =
                    randomBytes(random, random() % (random() % 8 == 0 ? 200'000 : 500));
                queue.append(bytes);
                append(given, bytes);
                break;
            }
            case 1:
                append(got, sockets.read(random() % 10'000 + 1));
                break;
            default: {
                const std::size_t before = queue.size();
                const std::size_t most = random() % 30'000;
                const std::optional<std::size_t> sent = queue.sendTo(sockets.server(), most);
                ASSERT_TRUE(sent.has_value());
                ASSERT_LE(*sent, most);
                ASSERT_EQ(queue.size(), before - *sent);
            }
        }
    }
    while (got.size() < given.size()) {
        ASSERT_TRUE(queue.sendTo(sockets.server(), given.size()).has_value());
        append(got, sockets.read(100'000));
    }
    EXPECT_EQ(got, given);
    EXPECT_TRUE(queue.empty());
}

TEST(SendQueue, SeesThatTheClientIsGone) {
    SocketPair sockets;
    SendQueue queue;
    queue.append(Bytes(1'000'000));
    ASSERT_TRUE(queue.sendTo(sockets.server(), queue.size()).has_value());
    sockets.closeClientsEnd();
    EXPECT_FALSE(queue.sendTo(sockets.server(), 1).has_value());
    queue.clear();
    EXPECT_EQ(queue.sendTo(sockets.server(), 1), 0u);
    queue.append(Bytes(3));
    EXPECT_EQ(queue.size(), 3u);
}
