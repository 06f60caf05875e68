#pragma once

#include <vector>

#include "sim/memory/database_memory.h"

namespace sim {

/// A zeroed database in ordinary memory, for a plant that no other process reads.
class DatabaseArrays {
  public:
    explicit DatabaseArrays(const Counts& counts) {
        std::size_t records = 0;
        for (std::size_t t = 0; t < kTypeCount; ++t) {
            const TypeLayout& layout = kTypes[t];
            memory.types[t] = {counts[t], make(counts[t] * layout.passport.elementSize),
                               make(counts[t] * layout.data.elementSize),
                               make(counts[t] * layout.value.elementSize)};
            if (t < kMainTypeCount) records += counts[t];
        }
        memory.timeQuality = make(records * TimeQualityLayout::kSize);
    }

    DatabaseArrays(const DatabaseArrays&) = delete;  // the addresses in `memory` must stay valid
    DatabaseArrays& operator=(const DatabaseArrays&) = delete;

    std::vector<std::vector<std::byte>> arrays;  // their sizes must not change
    DatabaseMemory memory;

  private:
    std::byte* make(std::size_t size) {
        arrays.emplace_back(size);
        return arrays.back().data();
    }
};

}  // namespace sim
