#pragma once

#include <cstdint>

#include "sim/layout/little_endian.h"
#include "sim/memory/database_memory.h"

namespace sim {

/// OPC DA quality bytes as the controller writes them.
enum class Quality : std::uint32_t { bad = 0x00, uncertain = 0x40, good = 0xC0 };

inline void setQuality(const DatabaseMemory& memory, TypeCode type, std::size_t i,
                       Quality quality) {
    store(memory.timeQualityOf(type, i) + TimeQualityLayout::kQuality,
          static_cast<std::uint32_t>(quality));
}

[[nodiscard]] inline Quality qualityOf(const DatabaseMemory& memory, TypeCode type, std::size_t i) {
    return static_cast<Quality>(
        load<std::uint32_t>(memory.timeQualityOf(type, i) + TimeQualityLayout::kQuality));
}

}  // namespace sim
