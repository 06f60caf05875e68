#pragma once

#include <sys/time.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/trends/standin/chunk.h"
#include "platform/trends/standin/definitions.h"
#include "sim/memory/database_memory.h"

namespace sim {

/// A value for a pen of the archive.
struct PenValue {
    std::int64_t pen;  // key in the archive
    trends::Sample sample;
};

/// Decides which pens get a value now: those whose variable changed in value or quality, and those
/// whose last value is a second old. Noise does not count: an analog value must change by half a
/// percent of its scale. One thread at a time.
class PenSampler {
  public:
    /// Pens without a variable in the database, and pens of a text, get no values.
    PenSampler(const DatabaseMemory& memory, const trends::Definitions& definitions);

    /// Appends what is due at `now`.
    void sample(timeval now, std::vector<PenValue>& to);

    [[nodiscard]] std::size_t recordedPens() const { return pens_.size(); }

    /// The growth of the archive when every pen changes and gets a value each second, bytes a
    /// second.
    [[nodiscard]] double archiveGrowth() const;

  private:
    struct Pen {
        std::int64_t key;
        std::int16_t valueType;
        TypeCode type;
        std::size_t index;  // of the variable, from 0
        double smallestChange;
        std::optional<trends::Sample> last;
    };

    [[nodiscard]] std::optional<Pen> penFor(const trends::PenDefinition& definition) const;
    [[nodiscard]] trends::Sample now(const Pen& pen) const;

    DatabaseMemory memory_;
    std::vector<Pen> pens_;
};

}  // namespace sim
