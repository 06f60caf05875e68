#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "server/connections/TransportChunk.h"

/// Finds the ends of chunks in a stream that arrives in pieces.
class ChunkEnds {
  public:
    /// Length of the part of `bytes`, which continue the stream, up to the end of the first chunk
    /// that ends in them; all of them when none does. What follows this part is to be given to the
    /// next call.
    std::size_t nextEnd(ByteView bytes);

  private:
    std::array<std::uint8_t, kTransportHeaderSize> header_{};
    std::size_t headerBytes_ = 0;  // of the chunk that is under way
    std::size_t missing_ = 0;      // bytes of its body that have not come yet
};

/// What a client says in its greeting about the answers that it can take; 0 means any.
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
