#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "server/connections/TransportChunk.h"

/// Hands bytes to a socket without waiting.
/// @return how many bytes the socket took, 0 when it takes none now; nothing when the connection is
///         lost
std::optional<std::size_t> sendWithoutWaiting(int socket, ByteView bytes) noexcept;

/// Bytes that one socket has not taken yet, in order. Keeps copies; its memory exceeds their number
/// by at most two blocks.
class SendQueue {
  public:
    /// @throws std::bad_alloc  and leaves the queue unchanged
    void append(ByteView bytes);

    /// Hands bytes to the socket until it takes no more or `most` are sent.
    /// @return how many were sent; nothing when the connection is lost
    std::optional<std::size_t> sendTo(int socket, std::size_t most);

    void clear();

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }

  private:
    static constexpr std::size_t kBlockSize = std::size_t{64} << 10;

    void removeFront(std::size_t count);

    std::deque<std::vector<std::uint8_t>> blocks_;  // none is empty
    std::size_t sentOfFront_ = 0;                   // bytes of the first block that were sent
    std::size_t size_ = 0;
};
