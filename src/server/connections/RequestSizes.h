#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "server/connections/TransportChunk.h"

/// Limits the length of requests by service. Requests that may list thousands of nodes or items may
/// be as long as the library's limit for messages. For other services a long request only causes
/// work: the library would look up each of half a million unknown subscriptions. One object per
/// connection.
class RequestSizes {
  public:
    /// @param piece  continues the client's stream and does not reach beyond the end of a chunk
    /// @return false once a request is longer than its service allows; the caller then closes the
    ///         connection
    [[nodiscard]] bool accept(ByteView piece);

    /// Bytes of the unfinished message; a chunk counts with its announced length.
    [[nodiscard]] std::size_t unfinished() const { return messageBytes_; }

  private:
    /// Up to the service's number, which clients send in its short form only.
    static constexpr std::size_t kHeadSize = kServiceHeaderSize + 4;

    [[nodiscard]] std::size_t chunkSize() const { return numberAt(head_, kChunkSizeOffset); }
    void endChunk();

    std::array<std::uint8_t, kHeadSize> head_{};  // of the current chunk
    std::size_t have_ = 0;                        // bytes of the chunk so far
    bool first_ = true;                           // it is the first of its message
    std::size_t messageBytes_ = 0;                // chunks of the message so far, this one included
    std::size_t most_ = 0;                        // for this message
};
