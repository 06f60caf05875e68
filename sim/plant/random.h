#pragma once

#include <cstdint>

namespace sim {

/// Small, fast generator (xorshift, 64 bits). The same seed gives the same plant on every machine,
/// which the standard library's distributions do not promise.
class Random {
  public:
    explicit Random(std::uint64_t seed) : state_(mixed(seed)) {}

    std::uint64_t next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return state_;
    }

    /// Uniform in [0, 1).
    float uniform() { return static_cast<float>(next() >> 40) * 0x1p-24F; }

    float between(float low, float high) { return low + (high - low) * uniform(); }

    /// Approximately normal, mean 0, deviation 1, within +-3.5: the sum of four 16-bit numbers.
    float normal() {
        const std::uint64_t bits = next();
        const auto sum = static_cast<float>((bits & 0xFFFF) + ((bits >> 16) & 0xFFFF) +
                                            ((bits >> 32) & 0xFFFF) + (bits >> 48));
        constexpr float kMean = 2 * 65535.0F;
        constexpr float kDeviation = 37837.0F;  // 65536 / sqrt(3)
        return (sum - kMean) / kDeviation;
    }

  private:
    /// Turns similar seeds into very different states; never 0, from which the generator would
    /// never change.
    static std::uint64_t mixed(std::uint64_t seed) {
        seed += 0x9E3779B97F4A7C15U;
        seed = (seed ^ (seed >> 30)) * 0xBF58476D1CE4E5B9U;
        seed = (seed ^ (seed >> 27)) * 0x94D049BB133111EBU;
        seed ^= seed >> 31;
        return seed != 0 ? seed : 1;
    }

    std::uint64_t state_;
};

}  // namespace sim
