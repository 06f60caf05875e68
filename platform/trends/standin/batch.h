#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/trends/standin/chunk.h"
#include "platform/trends/standin/leb128.h"

// A batch is what one commit appends: the new values of all pens in one row, so that a commit
// changes one page of the file instead of one page per pen.
//
// It is a sequence of runs, one per pen, in the order of pens:
//   pen, less the pen of the run before                   LEB128
//   type of the values                                    1 byte
//   time of the first value, less the batch's first, us   LEB128
//   number of bytes that follow                           LEB128
//   the values, as in a chunk
namespace trends {

/// Consecutive values of one pen, packed.
struct Run {
    std::int64_t pen = 0;
    std::int16_t valueType = 0;
    std::int64_t first = 0;  // us since 1970
    std::span<const std::uint8_t> bytes;
};

/// Packs runs. Pens must ascend.
class BatchEncoder {
  public:
    /// @param first  us since 1970, not later than any run
    explicit BatchEncoder(std::int64_t first) : first_(first) {}

    void add(const Run& run);

    [[nodiscard]] std::int64_t first() const { return first_; }
    [[nodiscard]] std::span<const std::uint8_t> bytes() const { return bytes_; }

  private:
    std::int64_t first_;
    std::int64_t penBefore_ = 0;
    std::vector<std::uint8_t> bytes_;
};

/// Finds one run after the other.
class BatchDecoder {
  public:
    /// The bytes must outlive the decoder and the runs.
    BatchDecoder(std::int64_t first, std::span<const std::uint8_t> bytes)
        : first_(first), rest_(bytes) {}

    /// False at the end and at malformed bytes, see `damaged`.
    bool next(Run& run);
    [[nodiscard]] bool damaged() const { return damaged_; }

  private:
    bool takeRun(Run& run);

    std::int64_t first_;
    std::int64_t pen_ = 0;
    PackedBytes rest_;
    bool damaged_ = false;
};

}  // namespace trends
