#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

// Numbers and records in the archive's packed bytes: unsigned LEB128, and little-endian values in
// their memory layout.
namespace trends {

inline void appendNumber(std::vector<std::uint8_t>& to, std::uint64_t number) {
    for (; number >= 0x80; number >>= 7) {
        to.push_back(static_cast<std::uint8_t>(number | 0x80));
    }
    to.push_back(static_cast<std::uint8_t>(number));
}

/// Reads packed bytes item by item. The bytes must outlive it.
class PackedBytes {
  public:
    explicit PackedBytes(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    [[nodiscard]] bool empty() const { return bytes_.empty(); }

    /// False when there are too few bytes, as in the operations below; `to` is unchanged then.
    bool take(void* to, std::size_t size) {
        if (bytes_.size() < size) return false;
        std::memcpy(to, bytes_.data(), size);
        bytes_ = bytes_.subspan(size);
        return true;
    }

    bool takeNumber(std::uint64_t& number) {
        number = 0;
        for (unsigned shift = 0; shift < 64; shift += 7) {
            std::uint8_t byte = 0;
            if (!take(&byte, sizeof byte)) return false;
            number |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
            if ((byte & 0x80) == 0) return true;
        }
        return false;
    }

    bool takeSpan(std::uint64_t size, std::span<const std::uint8_t>& part) {
        if (bytes_.size() < size) return false;
        part = bytes_.first(static_cast<std::size_t>(size));
        bytes_ = bytes_.subspan(static_cast<std::size_t>(size));
        return true;
    }

  private:
    std::span<const std::uint8_t> bytes_;
};

}  // namespace trends
