#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/trends/standin/leb128.h"

// Most of the archive consists of chunks: packed runs of one pen's values in order of time, each a
// row of the archive's table.
//
// A chunk is a sequence of values without gaps or padding. Each begins with a byte of flags for
// what has not changed; what has changed follows in this order:
//   kSameStep     else  difference of the time step to the step before, us, zigzag LEB128
//   kSameValue    else  the value, little-endian: float and integer 4 bytes (both a float),
//                       double 8, boolean 1
//   kSameQuality  else  the quality word, LEB128
// It starts from step 0 after the chunk's first time, value 0 and quality 0xC0. A value each second
// takes 1 byte when it stands still and 5 when a float moves.
namespace trends {

/// One archived value.
struct Sample {
    std::int64_t time = 0;      // us since 1970-01-01 UTC
    double value = 0;           // float: exactly representable as a float; boolean: 0 or 1
    std::uint32_t quality = 0;  // OPC DA quality word
};

/// Packs values of one type, oldest first.
class ChunkEncoder {
  public:
    explicit ChunkEncoder(std::int16_t valueType) : valueType_(valueType) {}

    void add(const Sample& sample);

    /// Whether a value of this time may follow in the same chunk: it must not be older than the
    /// last one, and the chunk must neither be full nor become longer than kLongestChunk.
    [[nodiscard]] bool accepts(std::int64_t time) const;

    [[nodiscard]] std::int16_t valueType() const { return valueType_; }
    [[nodiscard]] std::uint32_t count() const { return count_; }
    [[nodiscard]] std::int64_t first() const { return first_; }  // time of the first value
    [[nodiscard]] std::int64_t last() const { return before_.time; }
    [[nodiscard]] std::span<const std::uint8_t> bytes() const { return bytes_; }

    void clear();

  private:
    std::int16_t valueType_;
    std::vector<std::uint8_t> bytes_;
    std::uint32_t count_ = 0;
    std::int64_t first_ = 0;
    std::int64_t step_ = 0;
    Sample before_;
};

/// Unpacks one value after the other.
class ChunkDecoder {
  public:
    /// @param first  time of the first value; the bytes must outlive the decoder
    ChunkDecoder(std::int16_t valueType, std::int64_t first, std::span<const std::uint8_t> bytes);

    /// False at the end and at malformed bytes, see `damaged`.
    bool next(Sample& sample);
    [[nodiscard]] bool damaged() const { return damaged_; }

  private:
    bool takeValue();
    bool takeRest(std::uint8_t flags);

    std::int16_t valueType_;
    PackedBytes rest_;
    std::int64_t step_ = 0;
    Sample now_;
    bool damaged_ = false;
};

}  // namespace trends
