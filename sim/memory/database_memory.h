#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "sim/layout/little_endian.h"
#include "sim/layout/types.h"

namespace sim {

/// Numbers of variables by type code order.
using Counts = std::array<std::uint16_t, kTypeCount>;

/// The arrays of one type, wherever they are. Not owned.
struct TypeMemory {
    std::uint16_t count = 0;
    std::byte* passport = nullptr;
    std::byte* data = nullptr;
    std::byte* value = nullptr;
};

/// The controller's database as the plant sees it: addresses of all arrays. Not owned; the arrays
/// must outlive this object. Variables count from 0 here.
class DatabaseMemory {
  public:
    std::array<TypeMemory, kTypeCount> types{};
    std::byte* timeQuality = nullptr;

    [[nodiscard]] TypeMemory& of(TypeCode type) { return types[indexOf(type)]; }
    [[nodiscard]] const TypeMemory& of(TypeCode type) const { return types[indexOf(type)]; }

    [[nodiscard]] std::byte* passport(TypeCode type, std::size_t i) const {
        return of(type).passport + i * layoutOf(type).passport.elementSize;
    }
    [[nodiscard]] std::byte* data(TypeCode type, std::size_t i) const {
        return of(type).data + i * layoutOf(type).data.elementSize;
    }
    [[nodiscard]] std::byte* value(TypeCode type, std::size_t i) const {
        return of(type).value + i * layoutOf(type).value.elementSize;
    }

    /// The time-quality-flags record of a variable of the five main types.
    [[nodiscard]] std::byte* timeQualityOf(TypeCode type, std::size_t i) const {
        std::size_t before = i;
        for (std::size_t t = 0; t < indexOf(type); ++t) {
            before += types[t].count;
        }
        return timeQuality + before * TimeQualityLayout::kSize;
    }
};

}  // namespace sim
