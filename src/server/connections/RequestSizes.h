#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "server/connections/TransportChunk.h"

/// How long a request may be, by its service. Services that clients give thousands of nodes or
/// items may be as long as the library's limit of messages; for the others a long request only
/// means work: the library looks every one of half a million unknown subscriptions up. One object
/// per connection.
class RequestSizes {
  public:
    /// @param piece  continues the client's stream and does not reach beyond the end of a chunk
    /// @return false once a request is longer than its service allows; the connection is then to be
    ///         closed
    [[nodiscard]] bool accept(ByteView piece);

    /// Bytes of the message of which more is to come, its chunks under way as long as they will be.
    [[nodiscard]] std::size_t unfinished() const { return messageBytes_; }

  private:
    /// Up to the number of the service, of which clients use the short form only.
    static constexpr std::size_t kHeadSize = kServiceHeaderSize + 4;

    [[nodiscard]] std::size_t chunkSize() const { return numberAt(head_, kChunkSizeOffset); }
    void endChunk();

    std::array<std::uint8_t, kHeadSize> head_{};  // of the chunk that is under way
    std::size_t have_ = 0;                        // bytes of the chunk so far
    bool first_ = true;                           // it is the first of its message
    std::size_t messageBytes_ = 0;                // chunks of the message so far, this one included
    std::size_t most_ = 0;                        // for this message
};
