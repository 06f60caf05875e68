#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

// Chunks of the binary transport as they are sent, little-endian (OPC 10000-6, 6.7.2 and 7.1.2).

using ByteView = std::span<const std::uint8_t>;

inline constexpr std::size_t kChunkTypeOffset = 3;  // 'C' more follows, 'F' final, 'A' abort
inline constexpr std::size_t kChunkSizeOffset = 4;  // of the whole chunk
inline constexpr std::size_t kTransportHeaderSize = 8;

// A chunk of a service message without message security.
inline constexpr std::size_t kSequenceNumberOffset = 16;
inline constexpr std::size_t kRequestIdOffset = 20;
inline constexpr std::size_t kServiceHeaderSize = 24;

// A client's greeting.
inline constexpr std::size_t kHelloMaxMessageSizeOffset = 20;
inline constexpr std::size_t kHelloMaxChunkCountOffset = 24;
inline constexpr std::size_t kHelloLimitsEnd = 28;

static_assert(std::endian::native == std::endian::little, "numbers are copied as they lie");

inline std::uint32_t numberAt(ByteView bytes, std::size_t offset) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data() + offset, sizeof number);
    return number;
}

inline void setNumberAt(std::span<std::uint8_t> bytes, std::size_t offset, std::uint32_t number) {
    std::memcpy(bytes.data() + offset, &number, sizeof number);
}

/// @param type  three letters
inline bool isOfType(ByteView chunk, const char* type) {
    return chunk.size() >= kTransportHeaderSize && std::memcmp(chunk.data(), type, 3) == 0;
}
