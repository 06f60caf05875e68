#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "server/connections/TransportChunk.h"

/// Finds the ends of chunks in a stream that arrives in pieces.
class ChunkEnds {
  public:
    /// `bytes` continue the stream. Returns the length up to the end of the first chunk that ends
    /// in them, or the length of all of them if none does. Pass the remaining bytes to the next
    /// call.
    std::size_t nextEnd(ByteView bytes);

  private:
    std::array<std::uint8_t, kTransportHeaderSize> header_{};
    std::size_t headerBytes_ = 0;  // of the current chunk
    std::size_t missing_ = 0;      // bytes of its body that have not arrived yet
};

/// Limits on answers that a client states in its greeting; 0 means no limit.
struct AnswerLimits {
    std::uint32_t messageSize = 0;  // bytes, without the chunks' headers
    std::uint32_t chunkCount = 0;
};

/// Reads the greeting with which a client's stream begins.
class Greeting {
  public:
    /// @param bytes  the stream from its beginning, piece by piece
    /// @return the limits, once, with the piece that completes them
    std::optional<AnswerLimits> read(ByteView bytes);

  private:
    std::array<std::uint8_t, kHelloLimitsEnd> start_{};
    std::size_t have_ = 0;
};
