#pragma once

#include <sys/socket.h>
#include "server/connections/TransportChunk.h"
#include "tests/support/basics.h"

using Bytes = std::vector<std::uint8_t>;

/// The server's and the client's end of a connection that holds little.
class SocketPair {
  public:
    SocketPair() {
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends_.data()), 0);
        const int least = 1;  // the kernel's least is some kilobytes
        EXPECT_EQ(setsockopt(ends_[0], SOL_SOCKET, SO_SNDBUF, &least, sizeof least), 0);
    }
    ~SocketPair() {
        for (const int end : ends_)
            close(end);
    }
    SocketPair(const SocketPair&) = delete;
    SocketPair& operator=(const SocketPair&) = delete;

    int server() const { return ends_[0]; }

    /// What the client reads, of at most `most` bytes.
    Bytes read(std::size_t most) const {
        Bytes bytes(most);
        const ssize_t got = recv(ends_[1], bytes.data(), most, MSG_DONTWAIT);
        bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
        return bytes;
    }

    void closeClientsEnd() { close(std::exchange(ends_[1], -1)); }

  private:
    std::array<int, 2> ends_{-1, -1};
};

/// Bytes that differ from all others that the generator made, as a test can hope for.
inline Bytes randomBytes(std::mt19937& random, std::size_t count) {
    Bytes bytes(count);
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random());
    return bytes;
}

/// @param typeAndEnd  "MSGF" and the like
inline Bytes chunk(std::string_view typeAndEnd, std::size_t size, std::uint8_t content = 0) {
    Bytes bytes(size, content);
    std::ranges::copy(typeAndEnd, bytes.begin());
    setNumberAt(bytes, kChunkSizeOffset, static_cast<std::uint32_t>(size));
    return bytes;
}

inline void append(Bytes& to, const Bytes& bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}
