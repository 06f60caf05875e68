#include "platform/trends/standin/chunk.h"

#include <bit>
#include <cstring>

#include "jxotr/opchda.h"
#include "platform/trends/standin/schema.h"

namespace trends {

namespace {

static_assert(std::endian::native == std::endian::little,
              "values are stored as they lie in memory");

enum Flags : std::uint8_t { kSameStep = 1, kSameValue = 2, kSameQuality = 4 };
constexpr std::uint8_t kAllFlags = kSameStep | kSameValue | kSameQuality;

constexpr std::uint32_t kGood = 0xC0;

/// Long enough that the last page of a chunk, half empty on average, does not matter; short enough
/// that a read unpacks few values that it does not return.
constexpr std::uint32_t kValuesPerChunk = 4096;

template <class T>
void appendBytes(std::vector<std::uint8_t>& to, T value) {
    const std::size_t end = to.size();
    to.resize(end + sizeof value);
    std::memcpy(to.data() + end, &value, sizeof value);
}

void appendValue(std::vector<std::uint8_t>& to, std::int16_t valueType, double value) {
    switch (valueType) {
        case jxo::kVtBoolean:
            return appendBytes(to, static_cast<std::uint8_t>(value != 0 ? 1 : 0));
        case jxo::kVtDouble:
            return appendBytes(to, value);
        default:
            return appendBytes(to, static_cast<float>(value));
    }
}

/// Maps signed numbers near 0 to small unsigned ones. The arithmetic is unsigned, where overflow is
/// defined.
std::uint64_t zigzag(std::uint64_t number) {
    return (number << 1) ^ (0 - (number >> 63));
}
std::uint64_t unzigzag(std::uint64_t number) {
    return (number >> 1) ^ (0 - (number & 1));
}

Sample startingPoint(std::int64_t first) {
    return {first, 0, kGood};
}

}  // namespace

void ChunkEncoder::add(const Sample& sample) {
    if (count_ == 0) {
        first_ = sample.time;
        before_ = startingPoint(first_);
    }
    const std::int64_t step = sample.time - before_.time;
    std::uint8_t flags = 0;
    if (step == step_) flags |= kSameStep;
    // Compared as bits, so that a NaN and a negative zero are preserved.
    const auto bits = std::bit_cast<std::uint64_t>(sample.value);
    if (bits == std::bit_cast<std::uint64_t>(before_.value)) flags |= kSameValue;
    if (sample.quality == before_.quality) flags |= kSameQuality;
    bytes_.push_back(flags);
    if ((flags & kSameStep) == 0) {
        appendNumber(bytes_,
                     zigzag(static_cast<std::uint64_t>(step) - static_cast<std::uint64_t>(step_)));
    }
    if ((flags & kSameValue) == 0) appendValue(bytes_, valueType_, sample.value);
    if ((flags & kSameQuality) == 0) appendNumber(bytes_, sample.quality);
    step_ = step;
    before_ = sample;
    ++count_;
}

bool ChunkEncoder::accepts(std::int64_t time) const {
    if (count_ == 0) return true;
    const auto length = static_cast<std::uint64_t>(time) - static_cast<std::uint64_t>(first_);
    return time >= last() && length <= kLongestChunk && count_ < kValuesPerChunk;
}

void ChunkEncoder::clear() {
    bytes_.clear();
    count_ = 0;
    step_ = 0;
}

ChunkDecoder::ChunkDecoder(std::int16_t valueType, std::int64_t first,
                           std::span<const std::uint8_t> bytes)
    : valueType_(valueType), rest_(bytes), now_(startingPoint(first)) {}

bool ChunkDecoder::next(Sample& sample) {
    std::uint8_t flags = 0;
    if (damaged_ || !rest_.take(&flags, sizeof flags)) return false;
    damaged_ = (flags & ~kAllFlags) != 0 || !takeRest(flags);
    if (damaged_) return false;
    now_.time = static_cast<std::int64_t>(static_cast<std::uint64_t>(now_.time) +
                                          static_cast<std::uint64_t>(step_));
    sample = now_;
    return true;
}

bool ChunkDecoder::takeRest(std::uint8_t flags) {
    std::uint64_t number = 0;
    if ((flags & kSameStep) == 0) {
        if (!rest_.takeNumber(number)) return false;
        step_ = static_cast<std::int64_t>(static_cast<std::uint64_t>(step_) + unzigzag(number));
    }
    if ((flags & kSameValue) == 0 && !takeValue()) return false;
    if ((flags & kSameQuality) == 0) {
        if (!rest_.takeNumber(number)) return false;
        now_.quality = static_cast<std::uint32_t>(number);
    }
    return true;
}

bool ChunkDecoder::takeValue() {
    if (valueType_ == jxo::kVtDouble) return rest_.take(&now_.value, sizeof now_.value);
    if (valueType_ == jxo::kVtBoolean) {
        std::uint8_t value = 0;
        if (!rest_.take(&value, sizeof value)) return false;
        now_.value = value;
        return true;
    }
    float value = 0;
    if (!rest_.take(&value, sizeof value)) return false;
    now_.value = static_cast<double>(value);
    return true;
}

}  // namespace trends
